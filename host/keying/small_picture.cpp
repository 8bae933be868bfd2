#include "vanta_keying/small_picture.h"

#include <algorithm>

namespace vanta_keying {
namespace {

constexpr uint32_t kGreatestWidth = 640;

Rgb Mean(const KeyPicture &picture, uint32_t left, uint32_t top, uint32_t right, uint32_t bottom) {
  std::array<uint64_t, 3> sums{};
  for (uint32_t y = top; y < bottom; ++y) {
    const uint8_t *pixel = picture.rgba + y * picture.stride + size_t{left} * 4;
    for (uint32_t x = left; x < right; ++x, pixel += 4) {
      for (size_t channel = 0; channel < 3; ++channel) sums[channel] += pixel[channel];
    }
  }
  const double scale = 1.0 / (255.0 * (right - left) * (bottom - top));
  Rgb mean{};
  for (size_t channel = 0; channel < 3; ++channel) mean[channel] = static_cast<float>(sums[channel] * scale);
  return mean;
}

}  // namespace

SmallPicture MakeSmall(const KeyPicture &picture) {
  SmallPicture small;
  if (!picture.rgba || picture.width == 0 || picture.height == 0) return small;
  small.width = std::min(picture.width, kGreatestWidth);
  small.height = std::max<uint32_t>(1, static_cast<uint32_t>(uint64_t{picture.height} * small.width / picture.width));
  small.height = std::min(small.height, picture.height);
  small.pixels.reserve(size_t{small.width} * small.height);
  const auto edge = [](uint32_t at, uint32_t whole, uint32_t parts) {
    return static_cast<uint32_t>(uint64_t{at} * whole / parts);
  };
  for (uint32_t y = 0; y < small.height; ++y) {
    for (uint32_t x = 0; x < small.width; ++x) {
      small.pixels.push_back(Mean(picture, edge(x, picture.width, small.width), edge(y, picture.height, small.height),
                                  edge(x + 1, picture.width, small.width), edge(y + 1, picture.height, small.height)));
    }
  }
  return small;
}

}  // namespace vanta_keying
