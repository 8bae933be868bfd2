// `SmallPicture` is a take's frame made small enough to look at every pixel.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vanta_keying {

// A frame as it lies in memory: rows of red, green, blue and alpha bytes; alpha counts for nothing. Borrowed.
struct KeyPicture {
  const uint8_t *rgba = nullptr;
  uint32_t width = 0;   // pixels
  uint32_t height = 0;  // pixels
  size_t stride = 0;    // bytes from one row to the next, 4 * width or more
};

using Rgb = std::array<float, 3>;  // red, green, blue, 0 to 1

struct SmallPicture {
  uint32_t width = 0;   // pixels, at most 640
  uint32_t height = 0;  // pixels
  std::vector<Rgb> pixels;

  const Rgb &At(uint32_t x, uint32_t y) const { return pixels[size_t{y} * width + x]; }
};

// Each pixel is the mean of what it stands for. Empty for an empty picture.
SmallPicture MakeSmall(const KeyPicture &picture);

}  // namespace vanta_keying
