// `RgbaBuffer` is one picture as it was read back, waiting for the worker.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace vanta {

struct FreeBytes {
  void operator()(uint8_t *bytes) const { std::free(bytes); }
};

// Owns: the pixels, bytes R, G, B, A.
struct RgbaBuffer {
  // Black, in memory that is not written here: the first one is seldom used. Without memory `data` stays null.
  RgbaBuffer(uint32_t picture_width, uint32_t picture_height, uint32_t picture_linesize)
      : width(picture_width),
        height(picture_height),
        linesize(picture_linesize),
        size(size_t{picture_height} * picture_linesize),
        data(static_cast<uint8_t *>(std::calloc(size, 1))) {}

  const uint32_t width;     // pixels
  const uint32_t height;    // pixels
  const uint32_t linesize;  // bytes
  const size_t size;        // bytes of `data`
  const std::unique_ptr<uint8_t[], FreeBytes> data;
};

}  // namespace vanta
