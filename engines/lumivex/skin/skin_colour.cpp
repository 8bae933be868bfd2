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
// Bright cloth and paint are more saturated than skin that lies in as much light.
constexpr float kMostSaturation = 0.42f;  // up to kHalfBright
constexpr float kMostOfBright = 0.29f;    // from kBright on
constexpr float kHalfBright = 0.42f;
constexpr float kBright = 0.55f;
constexpr float kTooMuch = 0.10f;  // above that, what is nothing
// Only the lightest and the darkest tones are nearly grey; grey walls lie between them.
constexpr float kLeastDark = 0.8f;    // codes of saturation up to kDarkLuma
constexpr float kLeastMiddle = 9.0f;  // from kMiddleLuma to kPaleLuma
constexpr float kLeastPale = 4.5f;    // from kWhiteLuma on
constexpr float kDarkLuma = 0.13f;
constexpr float kMiddleLuma = 0.32f;
constexpr float kPaleLuma = 0.75f;
constexpr float kWhiteLuma = 0.90f;
constexpr float kLeastRise = 1.5f;  // what is full, over what is nothing
constexpr float kBlack = 0.03f;
constexpr float kVisible = 0.065f;

// A face's own skin may have any colour that is nearly grey: in cold or dim light, and in a picture without colour.
constexpr float kGreyOfAnyHue = 0.12f;  // saturation as a part of the luma
constexpr float kMostOfAFace = 0.56f;
// How far coloured light moves skin's colour out of the band's hues, as a part of the luma: old fluorescent lamps do so
// by 0.06.
constexpr float kMostTint = 0.07f;

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
// What slack adds for each unit above 1: to the deviation, since the red of a spot on dark skin is many times the
// skin's own few codes; and to what is borne of shade and shine, in usual light.
constexpr float kNoiseOfSlack = 0.7f / 255.0f;
constexpr float kLightSlack = 0.2f;
constexpr float kUsualSpread = 0.13f;  // deviation of the samples' luma, as a part of it
constexpr float kMostSpread = 4.0f;    // times that

template <typename Value>
Value Between(float from, float to, float low, float high, const Value &value) {
  return All<Value>(low) + All<Value>(high - low) * Part<Value>(from, to, value);
}

template <typename Value>
Value TooSaturated(const Value &part, const Value &luma) {
  const Value most = Between<Value>(kHalfBright, kBright, kMostSaturation, kMostOfBright, luma);
  return Smooth<Value>(0.0f, kTooMuch, part - most);
}

// From dark to middle it rises, from pale to white it falls; between the two both are the same.
template <typename Value>
Value LeastSaturation(const Value &luma) {
  return Lesser(Between<Value>(kDarkLuma, kMiddleLuma, kLeastDark, kLeastMiddle, luma),
                Between<Value>(kPaleLuma, kWhiteLuma, kLeastMiddle, kLeastPale, luma));
}

template <typename Value>
Value BandOf(const Value &luma, const Value &blue, const Value &red) {
  const Value one = All<Value>(1.0f);
  const Value hue = (All<Value>(0.0f) - blue) / red;
  const Value part = Root(blue * blue + red * red);
  const Value codes = part * Greater(luma, All<Value>(kLeastLuma)) * All<Value>(255.0f);
  const Value weight = Smooth<Value>(kHueNone[0], kHueFull[0], hue) *
                       (one - Smooth<Value>(kHueFull[1], kHueNone[1], hue)) *
                       Smooth<Value>(0.0f, kLeastRise, codes - LeastSaturation<Value>(luma)) *
                       (one - TooSaturated<Value>(part, luma)) * Smooth<Value>(kBlack, kVisible, luma);
  return WhereAbove0(red, weight);
}

// How far from the nearest of the band's hues a colour lies, as a part of the luma; not above 0 within them.
float BesideTheHues(const ShadeFreeColour &colour) {
  const float towards_red = kHueNone[0] * colour.red + colour.blue;
  const float towards_green = -kHueNone[1] * colour.red - colour.blue;
  return std::max(towards_red / std::hypot(1.0f, kHueNone[0]), towards_green / std::hypot(1.0f, kHueNone[1]));
}

// Whether a face may be of that colour, in any light but a stage's: paint and masks are not learned.
bool CanBeOfAFace(const ShadeFreeColour &colour) {
  const float part = std::hypot(colour.blue, colour.red);
  return part < kGreyOfAnyHue || (part < kMostOfAFace && BesideTheHues(colour) < kMostTint);
}

// The colour that half of them come before. Changes their order, so that no memory is taken for another one.
template <typename Before>
const ShadeFreeColour &Median(std::vector<ShadeFreeColour> &colours, Before before) {
  const auto middle = colours.begin() + static_cast<std::ptrdiff_t>(colours.size() / 2);
  std::nth_element(colours.begin(), middle, colours.end(), before);
  return *middle;
}

using Member = float ShadeFreeColour::*;

float MedianOf(std::vector<ShadeFreeColour> &colours, Member member) {
  return Median(colours,
                [member](const ShadeFreeColour &a, const ShadeFreeColour &b) { return a.*member < b.*member; }).*
         member;
}

// The median distance from `middle`, as the deviation of a normal distribution.
float DeviationOf(std::vector<ShadeFreeColour> &colours, Member member, float middle) {
  const auto distance = [member, middle](const ShadeFreeColour &colour) { return std::abs(colour.*member - middle); };
  const ShadeFreeColour &median =
      Median(colours, [&](const ShadeFreeColour &a, const ShadeFreeColour &b) { return distance(a) < distance(b); });
  return std::max(1.4826f * distance(median), kLeastDeviation);
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

template <typename Value, typename Result>
Result ShadeFree::Convert(const Value &y, const Value &u, const Value &v) const {
  const Value grey = All<Value>(128.0f);
  const Value blue = u - grey;
  const Value red = v - grey;
  const Value luma = Greater((y - All<Value>(black_)) * All<Value>(per_luma_code_) + All<Value>(luma_from_u_) * blue +
                                 All<Value>(luma_from_v_) * red,
                             All<Value>(0.0f));
  const Value scale = All<Value>(1.0f) / Greater(luma, All<Value>(kLeastLuma));
  return {luma, (All<Value>(blue_from_u_) * blue + All<Value>(blue_from_v_) * red) * scale,
          (All<Value>(red_from_u_) * blue + All<Value>(red_from_v_) * red) * scale};
}

ShadeFreeColour ShadeFree::Of(float y, float u, float v) const {
  return Convert<float, ShadeFreeColour>(y, u, v);
}

ShadeFreeLanes ShadeFree::Of(const Lanes &y, const Lanes &u, const Lanes &v) const {
  return Convert<Lanes, ShadeFreeLanes>(y, u, v);
}

float SkinBand(const ShadeFreeColour &colour) {
  return BandOf<float>(colour.luma, colour.blue, colour.red);
}

Lanes SkinBand(const ShadeFreeLanes &colours) {
  return BandOf<Lanes>(colours.luma, colours.blue, colours.red);
}

std::optional<SkinModel> SkinModel::Learn(std::vector<ShadeFreeColour> &samples) {
  if (samples.size() < kLeastSamples) return std::nullopt;
  // Twice: the first middle lies where most of the samples are, the second knows which ones are far from it.
  SkinModel model;
  float spread = 0.0f;
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
    spread = luma / std::max(model.middle_.luma, kLeastLuma);
  }
  model.contrast_ = std::clamp(spread / kUsualSpread, 1.0f, kMostSpread);
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
  move(contrast_, seen.contrast_);
  move(middle_.luma, seen.middle_.luma);
  move(middle_.blue, seen.middle_.blue);
  move(middle_.red, seen.middle_.red);
  move(blue_blue_, seen.blue_blue_);
  move(blue_red_, seen.blue_red_);
  move(red_red_, seen.red_red_);
}

template <typename Value>
Value SkinModel::WeightOf(const Value &luma, const Value &blue_of, const Value &red_of, const Value &slack) const {
  const Value one = All<Value>(1.0f);
  const Value more = slack - one;
  const Value noise = (All<Value>(kNoise) + All<Value>(kNoiseOfSlack) * more) / Greater(luma, All<Value>(kLeastLuma));
  const Value blue_blue = All<Value>(blue_blue_) + noise * noise;
  const Value red_red = All<Value>(red_red_) + noise * noise;
  const Value blue_red = All<Value>(blue_red_);
  const Value blue = blue_of - All<Value>(middle_.blue);
  const Value red = red_of - All<Value>(middle_.red);
  const Value determinant = blue_blue * red_red - blue_red * blue_red;
  const Value square =
      (red_red * blue * blue - All<Value>(2.0f) * blue_red * blue * red + blue_blue * red * red) / determinant;
  const Value distance = Root(Greater(square, All<Value>(0.0f))) / slack;
  // Less light is borne the more slack there is, and more light likewise: but a spot is not as dark as hair, nor shine
  // on dark skin as light as fair hair.
  const Value light_slack = one + All<Value>(kLightSlack * contrast_) * more;
  const Value shade = luma * All<Value>(1.0f / std::max(middle_.luma, kLeastLuma / 100.0f));
  return (one - Smooth<Value>(kNear, kFar, distance)) * Smooth<Value>(kShadeNone, kShadeFull, shade * light_slack) *
         (one - Smooth<Value>(kShineFull, kShineNone, shade / light_slack));
}

float SkinModel::Weight(const ShadeFreeColour &colour, float slack) const {
  return WeightOf<float>(colour.luma, colour.blue, colour.red, slack);
}

Lanes SkinModel::Weight(const ShadeFreeLanes &colours, const Lanes &slack) const {
  return WeightOf<Lanes>(colours.luma, colours.blue, colours.red, slack);
}

}  // namespace lumivex
