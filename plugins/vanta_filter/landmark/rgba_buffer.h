// `RgbaBuffer` is one picture as it was read back, waiting for the worker.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>

namespace vanta {

// Owns: the pixels, bytes R, G, B, A.
struct RgbaBuffer {
  // Black. Without memory `data` stays null.
  RgbaBuffer(uint32_t picture_width, uint32_t picture_height, uint32_t picture_linesize)
      : width(picture_width),
        height(picture_height),
        linesize(picture_linesize),
        size(size_t{picture_height} * picture_linesize),
        data(new (std::nothrow) uint8_t[size]()) {}

  const uint32_t width;     // pixels
  const uint32_t height;    // pixels
  const uint32_t linesize;  // bytes
  const size_t size;        // bytes of `data`
  const std::unique_ptr<uint8_t[]> data;
};

}  // namespace vanta
