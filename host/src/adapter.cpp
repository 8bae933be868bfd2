#include "adapter.h"

#include <dlfcn.h>

#include <array>
#include <cstring>
#include <string>

#include <graphics/graphics.h>
#include <obs.h>
#include <util/platform.h>

#include "module/host_extensions.h"
#include "module/mutex.h"
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

// Cut to what fits with a terminator, whole characters only.
void CopyUtf16(const std::string &text, char16_t *out, size_t size) {
  std::array<wchar_t, 256> wide{};
  const size_t length = os_utf8_to_wcs(text.c_str(), text.size(), wide.data(), wide.size());
  size_t used = 0;
  for (size_t i = 0; i < length && wide[i]; ++i) {
    const auto character = static_cast<uint32_t>(wide[i]);
    const bool pair = character > 0xFFFF;
    if (used + (pair ? 2 : 1) >= size) break;
    if (pair) {
      out[used++] = static_cast<char16_t>(0xD7C0 + (character >> 10));
      out[used++] = static_cast<char16_t>(0xDC00 + (character & 0x3FF));
    } else {
      out[used++] = static_cast<char16_t>(character);
    }
  }
  out[used] = 0;
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
  CopyUtf16(KnownName(), desc.description, std::size(desc.description));
  return desc;
}

const char *vanta_host_adapter_name(void) {
  thread_local std::string name;
  vanta_host::LearnAdapter();
  name = KnownName();
  return name.c_str();
}
