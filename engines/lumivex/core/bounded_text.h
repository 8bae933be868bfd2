// Text out of the fixed arrays of the engine's records, also of one that lacks its terminator.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

namespace lumivex {

template <size_t kSize>
std::string BoundedText(const char (&text)[kSize]) {
  return std::string(text, std::find(text, text + kSize, '\0'));
}

}  // namespace lumivex
