// What commands can set of everything that is drawn on faces and bodies.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lumivex/lumivex_values.h"

namespace lumivex {

struct MakeupResource;

using DeformValues = std::array<float, kDeformModeCount>;
using SlimmingValues = std::array<float, kSlimTypeCount>;

// Where the legs are, on the upright picture.
struct LegRange {
  float top = 0.0f;  // 0 to 1 along the picture, below `bottom`
  float bottom = 1.0f;
  bool lies = false;  // the legs point to the right
};

// One makeup in use.
struct MakeupChoice {
  std::string key;
  std::shared_ptr<const MakeupResource> resource;  // never null
  int32_t blend = kMakeupBlendOfResource;
  float intensity = 1.0f;  // 0 to 1
};

struct FaceSettings {
  DeformValues deform = {};      // within each mode's range
  SlimmingValues slimming = {};  // 0 to 1
  std::optional<LegRange> legs;  // as the host says; empty: by the face
  std::vector<MakeupChoice> makeup;
};

}  // namespace lumivex
