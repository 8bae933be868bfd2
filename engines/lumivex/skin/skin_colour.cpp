#include "skin/skin_colour.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace lumivex {
namespace {

constexpr float kLeastLuma = 0.03f;  // below it a ratio to luma means nothing

// The band. Hue as the chroma away from blue over that towards red: the four values are the cotangents of 104, 113, 156
// and 166 degrees from the axis of U towards V. Saturation as a part of the luma, and in codes.
constexpr float kHueNone[2] = {0.249f, 4.01f};
constexpr float kHueFull[2] = {0.424f, 2.246f};
constexpr float kMostSaturationFull = 0.40f;
constexpr float kMostSaturationNone = 0.56f;
// Only the lightest and the darkest tones are nearly grey; grey walls lie between them.
constexpr float kLeastDark = 1.4f;    // codes of saturation up to kDarkLuma
constexpr float kLeastMiddle = 9.0f;  // from kMiddleLuma to kPaleLuma
constexpr float kLeastPale = 4.5f;    // from kWhiteLuma on
constexpr float kDarkLuma = 0.13f;
constexpr float kMiddleLuma = 0.32f;
constexpr float kPaleLuma = 0.75f;
constexpr float kWhiteLuma = 0.90f;
constexpr float kLeastRise = 1.5f;  // what is full, over what is nothing
constexpr float kBlack = 0.045f;
constexpr float kVisible = 0.09f;

// A face's own skin may have any colour that is nearly grey: in cold or dim light, and in a picture without colour.
constexpr float kGreyOfAnyHue = 0.12f;  // saturation as a part of the luma

// The model.
constexpr size_t kLeastSamples = 12;
constexpr float kOutlier = 3.0f;         // deviations from the middle
constexpr float kNoise = 0.8f / 255.0f;  // of a cell's chroma, as a part of white
constexpr float kLeastDeviation = 0.007f;
constexpr float kNear = 1.4f;  // deviations that count as skin
constexpr float kFar = 2.3f;   // deviations from which on nothing does
// Luma over the middle's.
constexpr float kShadeNone = 0.3f;
constexpr float kShadeFull = 0.5f;
constexpr float kShineFull = 1.25f;
constexpr float kShineNone = 1.5f;

float Smooth(float from, float to, float value) {
  const float t = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return t * t * (3.0f - 2.0f * t);
}

float Between(float from, float to, float low, float high, float value) {
  return low + (high - low) * std::clamp((value - from) / (to - from), 0.0f, 1.0f);
}

float LeastSaturation(float luma) {
  if (luma < kMiddleLuma) return Between(kDarkLuma, kMiddleLuma, kLeastDark, kLeastMiddle, luma);
  return Between(kPaleLuma, kWhiteLuma, kLeastMiddle, kLeastPale, luma);
}

// Whether a face may be of that colour, in any light but a stage's: paint and masks are not learned.
bool CanBeOfAFace(const ShadeFreeColour &colour) {
  const float part = std::hypot(colour.blue, colour.red);
  if (part < kGreyOfAnyHue) return true;
  if (colour.red <= 0.0f || part >= kMostSaturationNone) return false;
  const float hue = -colour.blue / colour.red;
  return hue > kHueNone[0] && hue < kHueNone[1];
}

float Median(std::vector<float> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

template <typename Member>
float MedianOf(const std::vector<ShadeFreeColour> &colours, Member member) {
  std::vector<float> values;
  values.reserve(colours.size());
  for (const ShadeFreeColour &colour : colours) values.push_back(colour.*member);
  return Median(std::move(values));
}

// The median distance from `middle`, as the deviation of a normal distribution.
template <typename Member>
float DeviationOf(const std::vector<ShadeFreeColour> &colours, Member member, float middle) {
  std::vector<float> values;
  values.reserve(colours.size());
  for (const ShadeFreeColour &colour : colours) values.push_back(std::abs(colour.*member - middle));
  return std::max(1.4826f * Median(std::move(values)), kLeastDeviation);
}

}  // namespace

ShadeFree::ShadeFree(const YuvSpace &space)
    : black_(static_cast<float>(space.black)), per_luma_code_(1.0f / static_cast<float>(space.span)) {
  const YuvSpace reference = SpaceOf(1);
  const auto codes = [&](float u, float v) { return FromRgb(reference, ToRgb(space, black_, 128.0f + u, 128.0f + v)); };
  const auto of_u = codes(1.0f, 0.0f);
  const auto of_v = codes(0.0f, 1.0f);
  luma_from_u_ = of_u[0] / 255.0f;
  luma_from_v_ = of_v[0] / 255.0f;
  blue_from_u_ = (of_u[1] - 128.0f) / 255.0f;
  blue_from_v_ = (of_v[1] - 128.0f) / 255.0f;
  red_from_u_ = (of_u[2] - 128.0f) / 255.0f;
  red_from_v_ = (of_v[2] - 128.0f) / 255.0f;
}

ShadeFreeColour ShadeFree::Of(float y, float u, float v) const {
  u -= 128.0f;
  v -= 128.0f;
  const float luma = std::max((y - black_) * per_luma_code_ + luma_from_u_ * u + luma_from_v_ * v, 0.0f);
  const float scale = 1.0f / std::max(luma, kLeastLuma);
  return {luma, (blue_from_u_ * u + blue_from_v_ * v) * scale, (red_from_u_ * u + red_from_v_ * v) * scale};
}

float SkinBand(const ShadeFreeColour &colour) {
  if (colour.red <= 0.0f || colour.luma <= kBlack) return 0.0f;
  const float hue = -colour.blue / colour.red;
  if (hue <= kHueNone[0] || hue >= kHueNone[1]) return 0.0f;
  const float part = std::sqrt(colour.blue * colour.blue + colour.red * colour.red);
  const float codes = part * std::max(colour.luma, kLeastLuma) * 255.0f;
  const float least = LeastSaturation(colour.luma);
  if (codes <= least || part >= kMostSaturationNone) return 0.0f;
  return Smooth(kHueNone[0], kHueFull[0], hue) * (1.0f - Smooth(kHueFull[1], kHueNone[1], hue)) *
         Smooth(least, least + kLeastRise, codes) * (1.0f - Smooth(kMostSaturationFull, kMostSaturationNone, part)) *
         Smooth(kBlack, kVisible, colour.luma);
}

std::optional<SkinModel> SkinModel::Learn(std::vector<ShadeFreeColour> &samples) {
  if (samples.size() < kLeastSamples) return std::nullopt;
  // Twice: the first middle lies where most of the samples are, the second knows which ones are far from it.
  SkinModel model;
  for (int round = 0; round < 2; ++round) {
    model.middle_ = {MedianOf(samples, &ShadeFreeColour::luma), MedianOf(samples, &ShadeFreeColour::blue),
                     MedianOf(samples, &ShadeFreeColour::red)};
    const float blue = DeviationOf(samples, &ShadeFreeColour::blue, model.middle_.blue);
    const float red = DeviationOf(samples, &ShadeFreeColour::red, model.middle_.red);
    const float luma = DeviationOf(samples, &ShadeFreeColour::luma, model.middle_.luma);
    std::erase_if(samples, [&](const ShadeFreeColour &colour) {
      return std::abs(colour.blue - model.middle_.blue) > kOutlier * blue ||
             std::abs(colour.red - model.middle_.red) > kOutlier * red ||
             std::abs(colour.luma - model.middle_.luma) > kOutlier * luma;
    });
    if (samples.size() < kLeastSamples / 2) return std::nullopt;
  }
  for (const ShadeFreeColour &colour : samples) {
    const float blue = colour.blue - model.middle_.blue;
    const float red = colour.red - model.middle_.red;
    model.blue_blue_ += blue * blue;
    model.blue_red_ += blue * red;
    model.red_red_ += red * red;
  }
  const float count = static_cast<float>(samples.size());
  const float least = kLeastDeviation * kLeastDeviation;
  model.blue_blue_ = model.blue_blue_ / count + least;
  model.blue_red_ = model.blue_red_ / count;
  model.red_red_ = model.red_red_ / count + least;
  if (!CanBeOfAFace(model.middle_)) return std::nullopt;
  return model;
}

void SkinModel::Follow(const SkinModel &seen, float part) {
  const auto move = [part](float &here, float there) { here += part * (there - here); };
  move(middle_.luma, seen.middle_.luma);
  move(middle_.blue, seen.middle_.blue);
  move(middle_.red, seen.middle_.red);
  move(blue_blue_, seen.blue_blue_);
  move(blue_red_, seen.blue_red_);
  move(red_red_, seen.red_red_);
}

float SkinModel::Weight(const ShadeFreeColour &colour, float slack) const {
  const float shade = colour.luma / middle_.luma;
  if (shade <= kShadeNone / slack || shade >= kShineNone * slack) return 0.0f;
  const float noise = kNoise / std::max(colour.luma, kLeastLuma);
  const float blue_blue = blue_blue_ + noise * noise;
  const float red_red = red_red_ + noise * noise;
  const float blue = colour.blue - middle_.blue;
  const float red = colour.red - middle_.red;
  const float determinant = blue_blue * red_red - blue_red_ * blue_red_;
  const float square = (red_red * blue * blue - 2.0f * blue_red_ * blue * red + blue_blue * red * red) / determinant;
  const float far = kFar * slack;
  if (square >= far * far) return 0.0f;
  return (1.0f - Smooth(kNear * slack, far, std::sqrt(square))) *
         Smooth(kShadeNone / slack, kShadeFull / slack, shade) *
         (1.0f - Smooth(kShineFull * slack, kShineNone * slack, shade));
}

}  // namespace lumivex
