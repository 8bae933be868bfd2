#include "controls/frontend.h"

#include "platform/library.h"

namespace vanta_host {

void *FindFrontendFunction(const char *name) {
  return FunctionOfFrontend(name);
}

bool HasFrontend() {
  return FindFrontendFunction("obs_frontend_get_main_window") != nullptr;
}

}  // namespace vanta_host
