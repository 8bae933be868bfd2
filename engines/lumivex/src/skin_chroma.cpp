#include "skin_chroma.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

// The oblong, in chroma of BT.601 at full range.
constexpr float kCentreU = 106.0f;
constexpr float kCentreV = 153.0f;
constexpr float kLongAxis = 27.0f;
constexpr float kShortAxis = 13.0f;
constexpr float kLongU = -0.6f;  // direction of the long axis: from pale to saturated
constexpr float kLongV = 0.8f;
constexpr float kInner = 0.75f;  // full weight up to here, in axes
constexpr float kOuter = 1.10f;  // none from here on

// Luma as a part of white.
constexpr float kDark = 0.16f;
constexpr float kLit = 0.30f;

float Smooth(float from, float to, float value) {
  const float t = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}

float ChromaWeight(float u, float v) {
  const float du = u - kCentreU;
  const float dv = v - kCentreV;
  const float along = (du * kLongU + dv * kLongV) / kLongAxis;
  const float across = (du * kLongV - dv * kLongU) / kShortAxis;
  return 1.0f - Smooth(kInner, kOuter, std::sqrt(along * along + across * across));
}

}  // namespace

void SkinChroma::Prepare(const YuvSpace &space) {
  if (!chroma_.empty() && space == space_) return;
  space_ = space;
  chroma_.resize(size_t{256} * 256);
  const YuvSpace reference = SpaceOf(1);
  const float grey = static_cast<float>(space.black) + 0.5f * static_cast<float>(space.span);
  for (int u = 0; u < 256; ++u) {
    for (int v = 0; v < 256; ++v) {
      const auto codes = FromRgb(reference, ToRgb(space, grey, static_cast<float>(u), static_cast<float>(v)));
      chroma_[static_cast<size_t>(u) << 8 | static_cast<size_t>(v)] =
          static_cast<uint8_t>(std::lround(255.0f * ChromaWeight(codes[1], codes[2])));
    }
  }
  for (int luma = 0; luma < 256; ++luma) {
    const float level = static_cast<float>(luma - space.black) / static_cast<float>(space.span);
    luma_[static_cast<size_t>(luma)] = static_cast<uint16_t>(std::lround(256.0f * Smooth(kDark, kLit, level)));
  }
}

}  // namespace lumivex
