// Maps at a quarter of the luma resolution: one value for each cell of 4 by 4 luma pixels (2 by 2 chroma pairs), and
// their linear interpolation back to the rows of the frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "pixels/nv12_view.h"

namespace lumivex {

inline constexpr int kCell = 4;  // luma pixels

// Mean and mean square of the luma of each cell, as CV_32F of `rows` by `columns`. Cells at the right and lower edge
// take the pixels that they have.
void MeasureCells(const Nv12View &view, cv::Mat &mean, cv::Mat &square);

// One fixed-point value per cell, from 0 to 32767, or with a sign, from -16384 to 16383.
// Owns: the values and one blended row. Threads: one at a time.
class CellMap {
 public:
  void Resize(int columns, int rows);
  int16_t *Row(int row) { return values_.data() + static_cast<size_t>(columns_) * row; }

  // The map at one row of luma: `out` takes 4 values for each cell, columns rounded up to 8 of them.
  void ExpandToLuma(int luma_row, int16_t *out);
  // The map at one row of chroma: `out` takes 2 values for each cell, each twice, for U and V.
  void ExpandToChroma(int chroma_row, int16_t *out);

 private:
  // Blends the cell row that holds the pixel row with its nearer neighbour; `scale` pixel rows make a cell.
  void Blend(int pixel_row, int scale);

  int columns_ = 0;
  int rows_ = 0;
  std::vector<int16_t> values_;
  std::vector<int16_t> blended_;  // one value of margin on the left, a step's worth on the right
};

}  // namespace lumivex
