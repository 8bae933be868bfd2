// Walks down a plane and shows three rows at a time, summed sideways with weights 1 2 1, so that a stage can change the
// plane in place while it looks at its neighbours.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "pixels/row_bands.h"

namespace lumivex {

// Owns: copies of three rows, each readable up to PaddedWidth. Borrows: plane and edges, from Begin to the last
// Advance. Threads: one at a time.
class RowWindow {
 public:
  static constexpr int kStep = 8;  // pixels that a loop takes at once

  // What is walked on, one byte for each pixel.
  struct Plane {
    const uint8_t *pixels;
    ptrdiff_t stride;
    int width;
    int height;
  };

  static int PaddedWidth(int width) { return (width + kStep - 1) / kStep * kStep; }

  // Walks over a band of the plane's rows, first <= row < end; stands on `from` afterwards. `edges` are those of the
  // bands, saved before any of them was changed. Rows and columns outside the plane read as the nearest one inside.
  void Begin(const Plane &plane, int first, int end, int from, const BandEdges &edges);
  void Advance();  // the row above may be overwritten from here on

  const uint8_t *Row() const { return Slot(row_).pixels.data() + kMargin; }
  // 4 times the sideways mean of each pixel. Above + 2 * Here + Below is 16 times the low-pass of the pixel.
  const int16_t *Above() const { return Slot(row_ > 0 ? row_ - 1 : 0).sums.data(); }
  const int16_t *Here() const { return Slot(row_).sums.data(); }
  const int16_t *Below() const { return Slot(row_ + 1 < plane_.height ? row_ + 1 : row_).sums.data(); }

 private:
  static constexpr int kMargin = 16;  // pixels left of each row

  struct RowCopy {
    std::vector<uint8_t> pixels;
    std::vector<int16_t> sums;
  };

  const RowCopy &Slot(int row) const { return slots_[static_cast<size_t>(row) % 3]; }
  void Load(int row);

  Plane plane_{nullptr, 0, 0, 0};
  const BandEdges *edges_ = nullptr;
  int padded_width_ = 0;
  int first_ = 0;
  int end_ = 0;
  int row_ = 0;
  std::array<RowCopy, 3> slots_;
};

}  // namespace lumivex
