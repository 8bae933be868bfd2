// Finds the colour of the backing in a picture.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace vanta_host {

// RGBA rows without gaps.
struct RgbaPicture {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> pixels;
};

// The middle (red, green, blue; 0 to 1) of the most frequent green or blue hue near the left, right and upper border,
// or in the whole picture where the border has too little of it. Empty where nothing looks like a backing.
std::optional<std::array<double, 3>> FindBackingColor(const RgbaPicture &picture);

}  // namespace vanta_host
