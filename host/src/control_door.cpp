#include "control_door.h"

#include <dlfcn.h>

#include <string>

#include "module/mutex.h"
#include "vanta_host.h"

namespace vanta_host {
namespace {

using vanta::Mutex;
using vanta::MutexLock;

using FindFacelessInstance = bool (*)(void **out);
constexpr const char *kDoorName = "FindFacelessInstance";

struct Module {
  Mutex mutex;
  std::string path VANTA_GUARDED_BY(mutex);  // empty: none has registered a filter yet
};

Module &TheModule() {
  static Module *module = new Module;
  return *module;
}

// Looked up each time, since the module may have been unloaded meanwhile: nothing here keeps it or loads it. A program
// that has the module linked in must export its symbols (-rdynamic).
FindFacelessInstance FindDoor() {
  std::string path;
  {
    Module &module = TheModule();
    MutexLock lock(module.mutex);
    path = module.path;
  }
  if (path.empty()) return nullptr;
  void *door = nullptr;
  if (void *library = dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
    door = dlsym(library, kDoorName);
    dlclose(library);
  }
  if (!door) door = dlsym(RTLD_DEFAULT, kDoorName);
  return reinterpret_cast<FindFacelessInstance>(door);
}

}  // namespace

void RememberModule(const void *address) {
  Dl_info info;
  if (!address || dladdr(address, &info) == 0 || !info.dli_fname) return;
  Module &module = TheModule();
  MutexLock lock(module.mutex);
  module.path = info.dli_fname;
}

ILumivex *FindControl() {
  const FindFacelessInstance door = FindDoor();
  void *control = nullptr;
  if (!door || !door(&control)) return nullptr;
  return static_cast<ILumivex *>(control);
}

}  // namespace vanta_host

void *vanta_host_get_faceless(void) {
  return vanta_host::FindControl();
}
