#include "module/module_control.h"

#include <atomic>
#include <string>

#include "platform/library.h"
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

// A look-up goes on into what a library was linked with, and into the program: the function must be the library's own.
bool ExportsDoor(const std::string &library) {
  const void *getter = FunctionOf(library, kGetterName);
  return getter && LibraryOf(getter) == library;
}

}  // namespace

void RememberModule(const void *address) {
  const std::string library = LibraryOf(address);
  if (library.empty() || !ExportsDoor(library)) return;
  Module &module = TheModule();
  MutexLock lock(module.mutex);
  module.path = library;
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
  const auto getter = reinterpret_cast<FindFacelessInstance>(FunctionOf(path, kGetterName));
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
