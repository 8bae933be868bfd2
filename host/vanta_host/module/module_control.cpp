#include "module/module_control.h"

#include <dlfcn.h>

#include <atomic>
#include <string>

#include "vanta_base/mutex.h"
#include "vanta_host.h"

namespace vanta_host {
namespace {

using vanta::Mutex;
using vanta::MutexLock;

using FindFacelessInstance = bool (*)(void **out);
constexpr const char *kGetterName = "FindFacelessInstance";

std::atomic<bool> application_drives{false};

struct Module {
  Mutex mutex;
  std::string path VANTA_GUARDED_BY(mutex);  // empty: no library with the getter has registered a filter yet
};

Module &TheModule() {
  static Module *module = new Module;
  return *module;
}

// Nothing here keeps the library or loads it. A program that has the module linked in must export its symbols
// (-rdynamic).
void *FindModuleControl(const char *path) {
  void *getter = nullptr;
  if (void *library = dlopen(path, RTLD_LAZY | RTLD_NOLOAD)) {
    getter = dlsym(library, kGetterName);
    dlclose(library);
  }
  return getter ? getter : dlsym(RTLD_DEFAULT, kGetterName);
}

// A look-up goes on into what a library was linked with, and into the program: the function must be the library's own.
bool ExportsDoor(const Dl_info &library) {
  const void *getter = FindModuleControl(library.dli_fname);
  Dl_info owner;
  return getter && dladdr(getter, &owner) != 0 && owner.dli_fbase == library.dli_fbase;
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
  const auto getter = reinterpret_cast<FindFacelessInstance>(FindModuleControl(path.c_str()));
  void *control = nullptr;
  if (!getter || !getter(&control)) return nullptr;
  return static_cast<ILumivex *>(control);
}

bool ApplicationDrives() {
  return application_drives;
}

void ForgetApplication() {
  application_drives = false;
}

}  // namespace vanta_host

void *vanta_host_get_faceless(void) {
  ILumivex *control = vanta_host::FindControl();
  if (control) vanta_host::application_drives = true;
  return control;
}
