#include "greenscreen/passes/blur_shape.h"

#include <algorithm>
#include <cmath>

#include "greenscreen/settings/green_screen_settings.h"

namespace vanta {

std::optional<BlurShape> ComputeBlurShape(float intensity) {
  const float i = std::clamp(intensity, 0.0f, 1.0f);
  const float a = 0.8f * i;
  const float b = 0.5f * i;
  if (i <= kGreenScreenEpsilon || a <= kGreenScreenEpsilon || b <= kGreenScreenEpsilon) return std::nullopt;
  float radius = b * 15.0f * 6.0f;  // pixels
  const float spread = std::clamp((1.0f - a) * 0.1f + a, 0.1f, 1.0f);
  if (spread < 1.0f) radius *= spread;
  const float weight = std::pow(20.0f, 1.0f / spread);
  const float reach = radius + 1.0f;
  const int levels = static_cast<int>(std::clamp(std::ceil(std::log2(reach / 5.0f)), 1.0f, 3.0f));
  const float offset = std::exp2(static_cast<float>(1 - levels)) * reach - 1.0f;
  return BlurShape{levels, offset, weight};
}

}  // namespace vanta
