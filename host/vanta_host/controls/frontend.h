// What OBS Studio's own program offers to plug-ins; found by name, since other hosts have none of it.
#pragma once

#include <obs-frontend-api.h>
#include <obs.h>

namespace vanta_host {

// Null where the host has no such function.
void *FindFrontendFunction(const char *name);

template <typename Function>
Function *FrontendFunction(const char *name) {
  return reinterpret_cast<Function *>(FindFrontendFunction(name));
}

// There is a user interface, and so a thread for its tasks.
bool HasFrontend();

}  // namespace vanta_host
