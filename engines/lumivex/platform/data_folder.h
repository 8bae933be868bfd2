// Where the engine's own data lies: lookup tables, presets, makeup.
#pragma once

#include <string>

namespace lumivex {

// `given` is what the host says, in UTF-8. On Windows a host that has its text in a code page cannot name every folder:
// where there is none of that name, the folder that was installed with the engine is taken, and the log says so once.
std::string DataFolder(const std::string &given);

}  // namespace lumivex
