#include "vanta_keying/backing_color.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

namespace vanta_keying {
namespace {

constexpr double kBorder = 0.15;       // of each side
constexpr double kBorderShare = 0.2;   // of the border's pixels
constexpr double kPictureShare = 0.1;  // of all pixels
constexpr float kLeastSaturation = 0.25f;
constexpr float kLeastValue = 0.12f;
constexpr int kBinDegrees = 5;
constexpr int kBins = 360 / kBinDegrees;
constexpr float kHueReach = 12.5f;  // degrees to either side of the peak

struct Pixel {
  Rgb rgb;
  float hue;  // degrees
};

bool IsBackingHue(float degrees) {
  return (degrees >= 75 && degrees <= 170) || (degrees >= 195 && degrees <= 265);
}

// Degrees from 0 to 360; `chroma` is the greatest channel less the least one, above 0.
float Hue(const Rgb &rgb, float most, float chroma) {
  const auto [r, g, b] = rgb;
  float sector;
  if (most == r)
    sector = (g - b) / chroma;
  else if (most == g)
    sector = 2 + (b - r) / chroma;
  else
    sector = 4 + (r - g) / chroma;
  return sector < 0 ? (sector + 6) * 60 : sector * 60;
}

// Saturated green and blue pixels of a part of the pictures, and how many pixels that part has.
struct Candidates {
  std::vector<Pixel> pixels;
  size_t looked_at = 0;

  void LookAt(const Rgb &rgb) {
    ++looked_at;
    const float most = std::max({rgb[0], rgb[1], rgb[2]});
    const float chroma = most - std::min({rgb[0], rgb[1], rgb[2]});
    if (most < kLeastValue || chroma < kLeastSaturation * most) return;
    const float hue = Hue(rgb, most, chroma);
    if (IsBackingHue(hue)) pixels.push_back({rgb, hue});
  }
};

// Without the lower side, where the subject enters the picture.
bool IsBorder(const SmallPicture &picture, uint32_t x, uint32_t y) {
  const auto across = std::max<uint32_t>(1, static_cast<uint32_t>(picture.width * kBorder));
  const auto down = std::max<uint32_t>(1, static_cast<uint32_t>(picture.height * kBorder));
  return y < down || x < across || x + across >= picture.width;
}

Candidates Collect(const std::vector<SmallPicture> &pictures, bool border_only) {
  Candidates found;
  for (const SmallPicture &picture : pictures) {
    for (uint32_t y = 0; y < picture.height; ++y) {
      for (uint32_t x = 0; x < picture.width; ++x) {
        if (!border_only || IsBorder(picture, x, y)) found.LookAt(picture.At(x, y));
      }
    }
  }
  return found;
}

// Three bins together, so that a hue on the limit of two bins is not halved.
float PeakHue(const std::vector<Pixel> &pixels) {
  std::array<int, kBins> bins{};
  for (const Pixel &pixel : pixels) ++bins[static_cast<size_t>(pixel.hue) / kBinDegrees % kBins];
  int best = 0, most = -1;
  for (int i = 0; i < kBins; ++i) {
    const auto bin = [&bins](int at) { return bins[static_cast<size_t>((at + kBins) % kBins)]; };
    const int sum = bin(i - 1) + bin(i) + bin(i + 1);
    if (sum > most) {
      most = sum;
      best = i;
    }
  }
  return (static_cast<float>(best) + 0.5f) * kBinDegrees;
}

std::optional<Rgb> Dominant(const Candidates &candidates, double least_share) {
  if (candidates.pixels.empty()) return std::nullopt;
  const float peak = PeakHue(candidates.pixels);
  std::array<std::vector<float>, 3> channels;
  for (const Pixel &pixel : candidates.pixels) {
    if (std::fabs(pixel.hue - peak) > kHueReach) continue;
    for (size_t i = 0; i < 3; ++i) channels[i].push_back(pixel.rgb[i]);
  }
  const size_t count = channels[0].size();
  if (count == 0 || static_cast<double>(count) < least_share * static_cast<double>(candidates.looked_at))
    return std::nullopt;
  Rgb color{};
  for (size_t i = 0; i < 3; ++i) {
    const auto middle = channels[i].begin() + static_cast<std::ptrdiff_t>(count / 2);
    std::nth_element(channels[i].begin(), middle, channels[i].end());
    color[i] = *middle;
  }
  return color;
}

}  // namespace

std::optional<Rgb> FindBackingColor(const std::vector<SmallPicture> &pictures) {
  if (const auto color = Dominant(Collect(pictures, true), kBorderShare)) return color;
  return Dominant(Collect(pictures, false), kPictureShare);
}

}  // namespace vanta_keying
