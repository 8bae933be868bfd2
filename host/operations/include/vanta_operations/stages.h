// The engine's stages by their names.
#pragma once

#include <array>
#include <optional>
#include <string_view>

#include "vanta_filter/engine/records.h"

namespace vanta_operations {

// A whole stage of the engine, as people name it.
struct StageInfo {
  std::string_view name;
  LXEffectType type;
  std::string_view what;
};
// All that the engine has.
extern const std::array<StageInfo, 9> kStages;
std::optional<LXEffectType> FindEffectType(std::string_view name);

}  // namespace vanta_operations
