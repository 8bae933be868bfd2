// Makeup that is a colour on a part of the face, without a folder.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lumivex/lumivex_values.h"

namespace lumivex {

// In the order of kMakeupParts.
enum class MakeupPart { kLips, kBlush, kShadow, kLiner, kBrows };

struct MakeupColor {
  MakeupPart part = MakeupPart::kLips;
  std::array<uint8_t, 3> rgb = {};
};

struct MakeupColorText {
  std::optional<MakeupColor> color;  // empty: no good
  std::string reason;                // then: why, and what to do about it
  std::string remedy;
};

bool IsMakeupColor(std::string_view resource);
// `resource` is one, "color:RRGGBB"; `key` names the part.
MakeupColorText ParseMakeupColor(std::string_view resource, std::string_view key);

}  // namespace lumivex
