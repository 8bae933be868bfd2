#include "registration/adapter.h"

#include <cstring>
#include <iterator>
#include <string>

#include <graphics/graphics.h>
#include <obs.h>

#include "textures/gl_api.h"
#include "textures/utf16.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

namespace {

using vanta::Mutex;
using vanta::MutexLock;

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

// Inside graphics.
std::string RendererName() {
  const auto get_string = vanta_host::Gl().GetString;
  const GLubyte *text = get_string ? get_string(GL_RENDERER) : nullptr;
  return text ? reinterpret_cast<const char *>(text) : "";
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
