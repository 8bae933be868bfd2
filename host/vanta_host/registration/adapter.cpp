#include "registration/adapter.h"

#include <cstring>
#include <string>

#include <graphics/graphics.h>
#include <obs.h>

#include "platform/renderer.h"
#include "vanta_base/mutex.h"
#include "vanta_base/utf16.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_host.h"

namespace {

using vanta::Mutex;
using vanta::MutexLock;

struct Adapter {
  Mutex mutex;
  HostAdapterDesc desc VANTA_GUARDED_BY(mutex);  // an empty description: not known

  Adapter() { std::memset(&desc, 0, sizeof(desc)); }
};

Adapter &TheAdapter() {
  static Adapter *adapter = new Adapter;
  return *adapter;
}

bool IsKnown() {
  return GetD3DAdapterInfo().description[0] != 0;
}

}  // namespace

namespace vanta_host {

void LearnAdapter() {
  if (!obs_initialized() || IsKnown()) return;
  obs_enter_graphics();
  const HostAdapterDesc present = PresentAdapter();
  obs_leave_graphics();
  Adapter &adapter = TheAdapter();
  MutexLock lock(adapter.mutex);
  adapter.desc = present;
}

void ForgetAdapter() {
  Adapter &adapter = TheAdapter();
  MutexLock lock(adapter.mutex);
  std::memset(&adapter.desc, 0, sizeof(adapter.desc));
}

}  // namespace vanta_host

// The landmark worker asks as well, so this answers from what is known.
HostAdapterDesc GetD3DAdapterInfo() {
  Adapter &adapter = TheAdapter();
  MutexLock lock(adapter.mutex);
  return adapter.desc;
}

const char *vanta_host_adapter_name(void) {
  thread_local std::string name;
  vanta_host::LearnAdapter();
  name = vanta::Utf8FromUtf16(GetD3DAdapterInfo().description);
  return name.c_str();
}
