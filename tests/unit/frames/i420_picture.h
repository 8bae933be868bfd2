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
// A frame whose planes lie apart, each row followed by bytes that are nobody's: kExtra of them in Y, U and V.
inline constexpr uint8_t kNobodys = 0xA7;
inline constexpr int kExtra[] = {13, 6, 9};

inline FramePtr MakePaddedI420(int width, int height) {
  struct Padded {
    std::vector<uint8_t> planes[3];
    LX::FrameData frame;
  };
  const auto padded = std::make_shared<Padded>();
  LX::FrameData &frame = padded->frame;
  frame.width = width;
  frame.height = height;
  for (int plane = 0; plane < 3; ++plane) {
    frame.strides[plane] = (plane ? ChromaSide(width) : width) + kExtra[plane];
    const int rows = plane ? ChromaSide(height) : height;
    padded->planes[plane].assign(static_cast<size_t>(frame.strides[plane]) * static_cast<size_t>(rows), kNobodys);
    frame.planes[plane] = padded->planes[plane].data();
  }
  return {padded, &frame};
}

// Sample of any plane, by its own coordinates.
inline uint8_t &Sample(const LX::FrameData &frame, int plane, int x, int y) {
  return frame.planes[plane][y * frame.strides[plane] + x];
}

// Calls `each(plane, x, y)` for every sample of a picture.
template <typename Each>
void ForEachSample(int width, int height, Each each) {
  for (int plane = 0; plane < 3; ++plane)
    for (int y = 0; y < (plane ? ChromaSide(height) : height); ++y)
      for (int x = 0; x < (plane ? ChromaSide(width) : width); ++x) each(plane, x, y);
}

// `frame`'s picture in a padded frame.
inline FramePtr Padded(const LX::FrameData &frame) {
  FramePtr padded = MakePaddedI420(frame.width, frame.height);
  ForEachSample(frame.width, frame.height,
                [&](int plane, int x, int y) { Sample(*padded, plane, x, y) = Sample(frame, plane, x, y); });
  return padded;
}

// Samples that differ, and bytes of the padding that something was written to.
inline int Differences(const LX::FrameData &padded, const LX::FrameData &wanted) {
  int differences = 0;
  ForEachSample(wanted.width, wanted.height, [&](int plane, int x, int y) {
    differences += Sample(padded, plane, x, y) != Sample(wanted, plane, x, y);
  });
  for (int plane = 0; plane < 3; ++plane)
    for (int y = 0; y < (plane ? ChromaSide(wanted.height) : wanted.height); ++y)
      for (int x = 0; x < kExtra[plane]; ++x)
        differences += Sample(padded, plane, padded.strides[plane] - 1 - x, y) != kNobodys;
  return differences;
}

// Chroma sample, by its own coordinates. `plane` is 1 for U, 2 for V.
inline int C(const LX::FrameData &frame, int plane, int x, int y) {
  return frame.planes[plane][y * frame.strides[plane] + x];
}

inline int Clamp8(double value) {
  return static_cast<int>(std::clamp(value + 0.5, 0.0, 255.0));
}

}  // namespace vanta_test
