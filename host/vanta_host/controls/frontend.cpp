#include "controls/frontend.h"

#include <dlfcn.h>

namespace vanta_host {

void *FindFrontendFunction(const char *name) {
  return dlsym(RTLD_DEFAULT, name);
}

bool HasFrontend() {
  return FindFrontendFunction("obs_frontend_get_main_window") != nullptr;
}

}  // namespace vanta_host
