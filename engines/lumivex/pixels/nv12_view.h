// The pixels of one NV12 frame, checked once so that the stages need not.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace LX {
class FrameData;
}

namespace lumivex {

struct Nv12View {
  uint8_t *y = nullptr;
  uint8_t *uv = nullptr;
  ptrdiff_t y_stride = 0;   // bytes, at least width
  ptrdiff_t uv_stride = 0;  // bytes, at least 2 * chroma_width
  int width = 0;            // pixels, 1 or more
  int height = 0;
  int chroma_width = 0;  // U, V pairs in a row: half the width, rounded up
  int chroma_height = 0;

  uint8_t *YRow(int row) const { return y + y_stride * row; }
  uint8_t *UvRow(int row) const { return uv + uv_stride * row; }
};

// Empty for a frame that is no NV12 picture: a missing plane, a size of nothing, a pitch below the width.
std::optional<Nv12View> ViewOf(const LX::FrameData &frame);

}  // namespace lumivex
