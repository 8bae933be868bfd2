#include "skin/eyes_and_teeth.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <numeric>

namespace lumivex {
namespace {

constexpr float kEyeLift = 0.16f;  // of white: what full strength adds to middle grey
constexpr float kToothLift = 0.14f;
constexpr float kEyeNeutral = 0.45f;  // of the colour that full strength takes
constexpr float kToothNeutral = 0.75f;
constexpr uint8_t kInside = 128;  // of a mask: counted for what the eye looks like
constexpr int kLeastPixels = 12;
constexpr float kLeastContrast = 0.06f;  // of white, between the dark and the light of an eye; a closed one has less
// Teeth are at least so light, as parts of white, and at most so red, as V from grey over the luma.
constexpr float kDarkTooth = 0.22f;
constexpr float kLightTooth = 0.38f;
constexpr float kToothRed = 0.10f;
constexpr float kGumRed = 0.17f;

float Step(float from, float to, float value) {
  const float part = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return part * part * (3.0f - 2.0f * part);
}

// The luma below which so large a part of what is counted lies.
int Percentile(const std::array<int, 256> &counts, int all, float part) {
  int rest = static_cast<int>(part * static_cast<float>(all));
  int code = 0;
  while (code < 255 && (rest -= counts[static_cast<size_t>(code)]) >= 0) ++code;
  return code;
}

// `weight_of(luma, u, v)` in 0 to 1 says how much of `lift` and `neutral` a pixel gets beside the mask.
template <typename WeightOf>
void Lighten(const Nv12View &view, const YuvSpace &space, const FaceMask &mask, float lift, float neutral,
             WeightOf &&weight_of) {
  const auto span = static_cast<float>(space.span);
  const int right = std::min(mask.place.x + mask.place.width, view.width);
  const int bottom = std::min(mask.place.y + mask.place.height, view.height);
  for (int top = mask.place.y; top < bottom; top += 2) {
    uint8_t *codes = view.UvRow(top / 2);
    for (int left = mask.place.x; left < right; left += 2) {
      const float u = static_cast<float>(codes[left]) - 128.0f;
      const float v = static_cast<float>(codes[left + 1]) - 128.0f;
      float sum = 0.0f;
      int count = 0;
      for (int y = top; y < std::min(top + 2, bottom); ++y) {
        uint8_t *row = view.YRow(y);
        const uint8_t *masks = mask.pixels.ptr<uint8_t>(y - mask.place.y);
        for (int x = left; x < std::min(left + 2, right); ++x, ++count) {
          if (masks[x - mask.place.x] == 0) continue;
          const float level =
              std::clamp((static_cast<float>(row[x]) - static_cast<float>(space.black)) / span, 0.0f, 1.0f);
          const float weight = static_cast<float>(masks[x - mask.place.x]) / 255.0f * weight_of(level, u, v);
          sum += weight;
          const float added = 4.0f * level * (1.0f - level) * lift * weight * span;
          row[x] = static_cast<uint8_t>(std::clamp(std::lround(static_cast<float>(row[x]) + added), 0L, 255L));
        }
      }
      if (sum == 0.0f) continue;
      const float rest = 1.0f - neutral * sum / static_cast<float>(count);
      codes[left] = static_cast<uint8_t>(std::lround(128.0f + u * rest));
      codes[left + 1] = static_cast<uint8_t>(std::lround(128.0f + v * rest));
    }
  }
}

}  // namespace

void EyesAndTeethStage::Apply(const Nv12View &view, const YuvSpace &space, const Faces &faces,
                              const EyesAndTeethStrength &strength) {
  const cv::Size frame(view.width, view.height);
  for (const Face &face : faces) {
    if (strength.bright_eyes > 0.0f) {
      Brighten(view, space, MaskLeftEye(face, frame), strength.bright_eyes);
      Brighten(view, space, MaskRightEye(face, frame), strength.bright_eyes);
    }
    if (strength.white_teeth > 0.0f) Whiten(view, space, MaskOpenMouth(face, frame), strength.white_teeth);
  }
}

void EyesAndTeethStage::Brighten(const Nv12View &view, const YuvSpace &space, const FaceMask &eye, float strength) {
  if (eye.place.empty()) return;
  std::array<int, 256> counts = {};
  for (int y = 0; y < eye.place.height; ++y) {
    const uint8_t *masks = eye.pixels.ptr<uint8_t>(y);
    const uint8_t *row = view.YRow(eye.place.y + y) + eye.place.x;
    for (int x = 0; x < eye.place.width; ++x) counts[row[x]] += masks[x] >= kInside;
  }
  const int all = std::accumulate(counts.begin(), counts.end(), 0);
  if (all < kLeastPixels) return;
  const auto part_of_white = [&](int code) {
    return static_cast<float>(code - space.black) / static_cast<float>(space.span);
  };
  const float dark = part_of_white(Percentile(counts, all, 0.25f));
  const float light = part_of_white(Percentile(counts, all, 0.85f));
  if (light - dark < kLeastContrast) return;
  Lighten(view, space, eye, strength * kEyeLift, strength * kEyeNeutral,
          [&](float level, float, float) { return Step(dark, light, level); });
}

void EyesAndTeethStage::Whiten(const Nv12View &view, const YuvSpace &space, const FaceMask &mouth, float strength) {
  if (mouth.place.empty()) return;
  Lighten(view, space, mouth, strength * kToothLift, strength * kToothNeutral, [&](float level, float, float v) {
    const float red = v / std::max(level * static_cast<float>(space.span), 1.0f);
    return Step(kDarkTooth, kLightTooth, level) * (1.0f - Step(kToothRed, kGumRed, red));
  });
}

}  // namespace lumivex
