#include "skin/skin_chroma.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

// Chroma of BT.601 at full range, seen from grey: degrees from the axis of U towards V, and codes.
constexpr float kHueNone[2] = {96.0f, 152.0f};
constexpr float kHueFull[2] = {108.0f, 138.0f};
constexpr float kSaturationNone[2] = {9.0f, 62.0f};
constexpr float kSaturationFull[2] = {12.0f, 46.0f};

// Luma as a part of white.
constexpr float kDark = 0.16f;
constexpr float kLit = 0.30f;

float Smooth(float from, float to, float value) {
  const float t = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}

// 1 between the two full values, 0 outside the two others.
float Band(const float (&none)[2], const float (&full)[2], float value) {
  return Smooth(none[0], full[0], value) * (1.0f - Smooth(full[1], none[1], value));
}

float ChromaWeight(float u, float v) {
  const float saturation = std::hypot(u - 128.0f, v - 128.0f);
  const float hue = std::atan2(v - 128.0f, u - 128.0f) * (180.0f / 3.14159265f);
  return Band(kSaturationNone, kSaturationFull, saturation) * Band(kHueNone, kHueFull, hue);
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
