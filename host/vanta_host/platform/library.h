// The libraries of this process and their functions, by name. Nothing here loads a library or keeps one.
#pragma once

#include <string>

namespace vanta_host {

// The file of the library, or of the program, that `address` lies in, in UTF-8; empty where there is none.
std::string LibraryOf(const void *address);
// What the library of that file exports under `name`, or else the process. Null where there is none.
void *FunctionOf(const std::string &library, const char *name);
// What OBS Studio's own program offers to plug-ins. Null in other hosts.
void *FunctionOfFrontend(const char *name);

}  // namespace vanta_host
