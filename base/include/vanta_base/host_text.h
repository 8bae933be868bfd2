// Paths as hosts give them to an engine, in one encoding.
#pragma once

#include <string>

namespace vanta {

// The path in UTF-8. On Windows hosts give paths in the system's code page or in UTF-8: what is no valid UTF-8 is read
// as text of the code page. Elsewhere a path is bytes, and stays as it is. Threads: any.
std::string Utf8FromHostText(const std::string &text);

}  // namespace vanta
