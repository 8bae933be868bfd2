#include "platform/library.h"

#include <dlfcn.h>

namespace vanta_host {

std::string LibraryOf(const void *address) {
  Dl_info info;
  return address && dladdr(address, &info) != 0 && info.dli_fname ? info.dli_fname : "";
}

// A program that has the module linked in must export its symbols (-rdynamic).
void *FunctionOf(const std::string &library, const char *name) {
  void *function = nullptr;
  if (void *handle = dlopen(library.c_str(), RTLD_LAZY | RTLD_NOLOAD)) {
    function = dlsym(handle, name);
    dlclose(handle);
  }
  return function ? function : dlsym(RTLD_DEFAULT, name);
}

void *FunctionOfFrontend(const char *name) {
  return dlsym(RTLD_DEFAULT, name);
}

}  // namespace vanta_host
