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
  std::string path VANTA_GUARDED_BY(mutex);  // empty: no library with the door has registered a filter yet
};

Module &TheModule() {
  static Module *module = new Module;
  return *module;
}

// Nothing here keeps the library or loads it. A program that has the module linked in must export its symbols
// (-rdynamic).
void *FindDoor(const char *path) {
  void *door = nullptr;
  if (void *library = dlopen(path, RTLD_LAZY | RTLD_NOLOAD)) {
    door = dlsym(library, kDoorName);
    dlclose(library);
  }
  return door ? door : dlsym(RTLD_DEFAULT, kDoorName);
}

// A look-up goes on into what a library was linked with, and into the program: the function must be the library's own.
bool ExportsDoor(const Dl_info &library) {
  const void *door = FindDoor(library.dli_fname);
  Dl_info owner;
  return door && dladdr(door, &owner) != 0 && owner.dli_fbase == library.dli_fbase;
}

}  // namespace

void RememberModule(const void *address) {
  Dl_info info;
  if (!address || dladdr(address, &info) == 0 || !info.dli_fname || !ExportsDoor(info)) return;
  Module &module = TheModule();
  MutexLock lock(module.mutex);
  module.path = info.dli_fname;
}

// Looked up each time, since the module may have been unloaded meanwhile.
ILumivex *FindControl() {
  std::string path;
  {
    Module &module = TheModule();
    MutexLock lock(module.mutex);
    path = module.path;
  }
  if (path.empty()) return nullptr;
  const auto door = reinterpret_cast<FindFacelessInstance>(FindDoor(path.c_str()));
  void *control = nullptr;
  if (!door || !door(&control)) return nullptr;
  return static_cast<ILumivex *>(control);
}

}  // namespace vanta_host

void *vanta_host_get_faceless(void) {
  return vanta_host::FindControl();
}
