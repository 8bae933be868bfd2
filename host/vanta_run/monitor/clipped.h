// Text that must fit a terminal's line.
#pragma once

#include <string>

namespace vanta_run {

// `text` cut to so many characters of UTF-8.
std::string Clipped(const std::string &text, size_t columns);

}  // namespace vanta_run
