// Text and paths as the operating system wants them.
#pragma once

#include <string>

namespace vanta {

// Host paths arrive with back slashes. On Windows they stay; elsewhere each becomes a slash, so that they name real
// folders.
std::string NativePath(std::string host_path);

}  // namespace vanta
