#include "controls/backing_color.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace vanta_host {
namespace {

constexpr uint32_t kBorderPerCent = 15;  // of each side
constexpr double kBorderShare = 0.2;     // of the border's pixels
constexpr double kPictureShare = 0.1;    // of all pixels
constexpr double kLeastSaturation = 0.25;
constexpr double kLeastValue = 0.12;
constexpr int kBinDegrees = 5;
constexpr int kBins = 360 / kBinDegrees;
constexpr double kHueReach = 12.5;  // degrees to either side of the peak

struct Pixel {
  std::array<uint8_t, 3> rgb;
  double hue;  // degrees
};

// Saturated green and blue pixels, and how many were looked at.
struct Candidates {
  std::vector<Pixel> pixels;
  size_t looked_at = 0;
};

bool IsBackingHue(double degrees) {
  return (degrees >= 75 && degrees <= 170) || (degrees >= 195 && degrees <= 265);
}

// Empty for a pixel that is too grey or too dark to have one.
std::optional<double> Hue(const std::array<uint8_t, 3> &rgb) {
  const double r = rgb[0] / 255.0, g = rgb[1] / 255.0, b = rgb[2] / 255.0;
  const double high = std::max({r, g, b}), span = high - std::min({r, g, b});
  if (high < kLeastValue || span < kLeastSaturation * high) return std::nullopt;
  double sixth = 4 + (r - g) / span;
  if (high == r)
    sixth = (g - b) / span;
  else if (high == g)
    sixth = 2 + (b - r) / span;
  return sixth < 0 ? (sixth + 6) * 60 : sixth * 60;
}

// The lower side is left out: there the subject enters the picture.
bool IsBorder(const RgbaPicture &picture, uint32_t x, uint32_t y) {
  const uint32_t across = std::max(1u, picture.width * kBorderPerCent / 100);
  const uint32_t down = std::max(1u, picture.height * kBorderPerCent / 100);
  return x < across || x + across >= picture.width || y < down;
}

Candidates Collect(const RgbaPicture &picture, bool border_only) {
  Candidates found;
  for (uint32_t y = 0; y < picture.height; ++y) {
    for (uint32_t x = 0; x < picture.width; ++x) {
      if (border_only && !IsBorder(picture, x, y)) continue;
      ++found.looked_at;
      const uint8_t *at = picture.pixels.data() + (size_t{y} * picture.width + x) * 4;
      const std::array<uint8_t, 3> rgb = {at[0], at[1], at[2]};
      const std::optional<double> hue = Hue(rgb);
      if (hue && IsBackingHue(*hue)) found.pixels.push_back({rgb, *hue});
    }
  }
  return found;
}

// Three bins together, so that a hue on the limit of two bins is not halved.
double PeakHue(const std::vector<Pixel> &pixels) {
  std::array<int, kBins> bins{};
  for (const Pixel &pixel : pixels) ++bins[static_cast<size_t>(pixel.hue / kBinDegrees) % kBins];
  int best = 0, most = -1;
  for (int i = 0; i < kBins; ++i) {
    const auto bin = [&bins](int at) { return bins[static_cast<size_t>((at + kBins) % kBins)]; };
    const int sum = bin(i - 1) + bin(i) + bin(i + 1);
    if (sum > most) {
      most = sum;
      best = i;
    }
  }
  return (best + 0.5) * kBinDegrees;
}

std::optional<std::array<double, 3>> Dominant(const Candidates &candidates, double least_share) {
  if (candidates.pixels.empty()) return std::nullopt;
  const double peak = PeakHue(candidates.pixels);
  std::array<std::vector<uint8_t>, 3> channels;
  for (const Pixel &pixel : candidates.pixels) {
    if (std::fabs(pixel.hue - peak) > kHueReach) continue;
    for (size_t i = 0; i < 3; ++i) channels[i].push_back(pixel.rgb[i]);
  }
  if (channels[0].empty() || static_cast<double>(channels[0].size()) < least_share * double(candidates.looked_at))
    return std::nullopt;
  std::array<double, 3> color{};
  for (size_t i = 0; i < 3; ++i) {
    const auto middle = channels[i].begin() + static_cast<std::ptrdiff_t>(channels[i].size() / 2);
    std::nth_element(channels[i].begin(), middle, channels[i].end());
    color[i] = *middle / 255.0;
  }
  return color;
}

}  // namespace

std::optional<std::array<double, 3>> FindBackingColor(const RgbaPicture &picture) {
  if (picture.pixels.size() < size_t{picture.width} * picture.height * 4) return std::nullopt;
  if (const auto color = Dominant(Collect(picture, true), kBorderShare)) return color;
  return Dominant(Collect(picture, false), kPictureShare);
}

}  // namespace vanta_host
