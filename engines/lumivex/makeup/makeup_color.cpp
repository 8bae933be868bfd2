#include "makeup/makeup_color.h"

#include <algorithm>
#include <charconv>

namespace lumivex {

bool IsMakeupColor(std::string_view resource) {
  return resource.starts_with(kMakeupColorPrefix);
}

MakeupColorText ParseMakeupColor(std::string_view resource, std::string_view key) {
  const auto part = std::find_if(kMakeupParts.begin(), kMakeupParts.end(),
                                 [&](const MakeupPartInfo &info) { return info.name == key; });
  if (part == kMakeupParts.end()) {
    std::string names;
    for (const MakeupPartInfo &info : kMakeupParts) names += (names.empty() ? "" : ", ") + std::string(info.name);
    return {std::nullopt, "its key '" + std::string(key) + "' is no part of a face", "the parts are " + names};
  }
  const std::string_view digits = resource.substr(kMakeupColorPrefix.size());
  uint32_t value = 0;
  const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), value, 16);
  if (digits.size() != 6 || read.ec != std::errc() || read.ptr != digits.data() + digits.size())
    return {std::nullopt, "it is no colour", "write color:RRGGBB with six hexadecimal digits"};
  MakeupColor color;
  color.part = static_cast<MakeupPart>(part - kMakeupParts.begin());
  for (size_t i = 0; i < 3; ++i) color.rgb[i] = static_cast<uint8_t>(value >> (16 - 8 * i) & 0xFF);
  return {color, {}, {}};
}

}  // namespace lumivex
