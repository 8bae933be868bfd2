// The foreground blur's pyramid, from its intensity.
#pragma once

#include <optional>

namespace vanta {

inline constexpr int kBlurLevels = 3;  // at most

struct BlurShape {
  int levels;    // 1 to 3
  float offset;  // distance of the corner samples, in half texels of a pass's target
  float weight;  // falls from huge to 38.6 as the blur grows stronger
};

// Empty where there is nothing to blur. `intensity` is clamped to 0 to 1.
std::optional<BlurShape> ComputeBlurShape(float intensity);

}  // namespace vanta
