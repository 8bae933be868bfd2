// The way to the module's control object.
#pragma once

#include "vanta_filter/engine/i_faceless.h"

namespace vanta_host {

// Remembers the library that `address` lies in as the module, if it exports the getter itself: other libraries register
// long records too. A later one that exports it takes the former's place.
void RememberModule(const void *address);
// Null while no module that exports the getter is loaded. The object lives as long as the module. Threads: any.
ILumivex *FindControl();

// The application has asked for the control object in this session: it may send commands that nobody here sees.
bool ApplicationDrives();
void ForgetApplication();

}  // namespace vanta_host
