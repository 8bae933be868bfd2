#include "registration/adapter.h"

#include <dlfcn.h>

#include <cstring>
#include <iterator>
#include <string>

#include <graphics/graphics.h>
#include <obs.h>

#include "textures/utf16.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

namespace {

using vanta::Mutex;
using vanta::MutexLock;

constexpr unsigned kGlRenderer = 0x1F01;  // GL_RENDERER

struct Adapter {
  Mutex mutex;
  std::string name VANTA_GUARDED_BY(mutex);  // UTF-8; empty: not known
};

Adapter &TheAdapter() {
  static Adapter *adapter = new Adapter;
  return *adapter;
}

std::string KnownName() {
  Adapter &adapter = TheAdapter();
  MutexLock lock(adapter.mutex);
  return adapter.name;
}

// The library that libobs's graphics module has loaded; the present context must be its.
std::string RendererName() {
  using GetProcAddress = void (*(*)(const char *))();
  using GetString = const unsigned char *(*)(unsigned);
  std::string name;
  void *egl = dlopen("libEGL.so.1", RTLD_LAZY | RTLD_NOLOAD);
  if (!egl) return name;
  if (const auto get_proc_address = reinterpret_cast<GetProcAddress>(dlsym(egl, "eglGetProcAddress"))) {
    if (const auto get_string = reinterpret_cast<GetString>(get_proc_address("glGetString"))) {
      if (const unsigned char *text = get_string(kGlRenderer)) name = reinterpret_cast<const char *>(text);
    }
  }
  dlclose(egl);
  return name;
}

}  // namespace

namespace vanta_host {

void LearnAdapter() {
  if (!obs_initialized() || !KnownName().empty()) return;
  std::string name;
  obs_enter_graphics();
  if (gs_get_context() && gs_get_device_type() == GS_DEVICE_OPENGL) name = RendererName();
  obs_leave_graphics();
  Adapter &adapter = TheAdapter();
  MutexLock lock(adapter.mutex);
  adapter.name = name;
}

void ForgetAdapter() {
  Adapter &adapter = TheAdapter();
  MutexLock lock(adapter.mutex);
  adapter.name.clear();
}

}  // namespace vanta_host

// OpenGL tells a name and no more. The landmark worker asks as well, so this answers from what is known.
HostAdapterDesc GetD3DAdapterInfo() {
  HostAdapterDesc desc;
  std::memset(&desc, 0, sizeof(desc));
  vanta_host::CopyUtf16(KnownName(), desc.description, std::size(desc.description));
  return desc;
}

const char *vanta_host_adapter_name(void) {
  thread_local std::string name;
  vanta_host::LearnAdapter();
  name = KnownName();
  return name.c_str();
}
