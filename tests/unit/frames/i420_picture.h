// I420 pictures and host frames of the conversion tests, one pixel at a time, as slow as they are plain.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <random>
#include <utility>
#include <vector>

#include "frames/frame_makers.h"

namespace vanta_test {

// The sizes at which whole vectors, their rests and odd sides meet.
inline std::vector<std::pair<int, int>> PictureSizes() {
  std::vector<std::pair<int, int>> sizes;
  for (int width = 2; width <= 66; ++width) {
    sizes.emplace_back(width, 2 + width % 5);
    sizes.emplace_back(width, 68 - width);
  }
  for (const int width : {1920, 1922, 3840})
    for (const int height : {2, 4, 5}) sizes.emplace_back(width, height);
  return sizes;
}

inline int ChromaSide(int side) {
  return (side + 1) / 2;
}

using FramePtr = std::shared_ptr<LX::FrameData>;

inline void FillRandom(uint8_t *bytes, size_t size, uint32_t seed) {
  std::minstd_rand random(seed + 1);
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<uint8_t>(random() >> 8);
}

inline FramePtr RandomI420(int width, int height, uint32_t seed = 7) {
  FramePtr frame = vanta::MakeI420Frame(width, height);
  const size_t chroma = static_cast<size_t>(ChromaSide(width)) * static_cast<size_t>(ChromaSide(height));
  FillRandom(frame->planes[0], static_cast<size_t>(width) * static_cast<size_t>(height) + 2 * chroma, seed);
  return frame;
}

inline int Y(const LX::FrameData &frame, int x, int y) {
  return frame.planes[0][y * frame.strides[0] + x];
}
// Chroma sample, by its own coordinates. `plane` is 1 for U, 2 for V.
inline int C(const LX::FrameData &frame, int plane, int x, int y) {
  return frame.planes[plane][y * frame.strides[plane] + x];
}

inline int Clamp8(double value) {
  return static_cast<int>(std::clamp(value + 0.5, 0.0, 255.0));
}

}  // namespace vanta_test
