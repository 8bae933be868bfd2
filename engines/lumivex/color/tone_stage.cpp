#include "color/tone_stage.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

// Full brightness takes middle tones to this power, full darkness to its inverse.
constexpr float kFullGamma = 0.55f;
constexpr float kFullContrast = 0.9f;  // below 1 the curve keeps rising everywhere

float Curve(float level, float brightness, float contrast) {
  const float lit = std::pow(level, std::pow(kFullGamma, brightness));
  const float steep = lit * lit * (3.0f - 2.0f * lit);
  return lit + kFullContrast * contrast * (steep - lit);
}

}  // namespace

void ToneStage::Apply(const Nv12View &view, const YuvSpace &space, float brightness, float contrast) {
  Prepare(space, brightness, contrast);
  for (int row = 0; row < view.height; ++row) {
    uint8_t *pixels = view.YRow(row);
    for (int x = 0; x < view.width; ++x) pixels[x] = curve_[pixels[x]];
  }
}

void ToneStage::Prepare(const YuvSpace &space, float brightness, float contrast) {
  if (prepared_ && space == space_ && brightness == brightness_ && contrast == contrast_) return;
  space_ = space;
  brightness_ = brightness;
  contrast_ = contrast;
  prepared_ = true;
  for (int code = 0; code < 256; ++code) {
    const float level = static_cast<float>(code - space.black) / static_cast<float>(space.span);
    // Codes below black and above white keep their distance.
    const float inside = std::clamp(level, 0.0f, 1.0f);
    const float changed = Curve(inside, brightness, contrast) + (level - inside);
    const float result = static_cast<float>(space.black) + changed * static_cast<float>(space.span);
    curve_[static_cast<size_t>(code)] = static_cast<uint8_t>(std::clamp(std::lround(result), 0l, 255l));
  }
}

}  // namespace lumivex
