// Text out of the fixed arrays of the engine's records, also of one that lacks its terminator; in UTF-8.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>

#include "vanta_base/host_text.h"

namespace lumivex {

template <size_t kSize>
std::string BoundedText(const char (&text)[kSize]) {
  return vanta::Utf8FromHostText(std::string(text, std::find(text, text + kSize, '\0')));
}

}  // namespace lumivex
