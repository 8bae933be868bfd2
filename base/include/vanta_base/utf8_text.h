// Texts in UTF-8 that have to be shortened.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace vanta {

// The beginning of `text`: at most `limit` bytes, cut between two characters. It refers to `text`.
inline std::string_view Utf8Beginning(std::string_view text, size_t limit) {
  const auto continues = [&text](size_t at) { return (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80; };
  size_t length = std::min(text.size(), limit);
  while (length > 0 && length < text.size() && continues(length)) --length;
  return text.substr(0, length);
}

}  // namespace vanta
