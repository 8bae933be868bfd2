// Maps at a quarter of the luma resolution: one value for each cell of 4 by 4 luma pixels (2 by 2 chroma pairs), and
// their linear interpolation back to the rows of the frame.
#pragma once

#include <cstddef>
#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"

namespace lumivex {

inline constexpr int kCell = 4;  // luma pixels

// Mean and mean square of the luma of each cell, as CV_32F of `rows` by `columns`. Cells at the right and lower edge
// take the pixels that they have.
void MeasureCells(const Nv12View &view, const RowBands &bands, cv::Mat &mean, cv::Mat &square);
// Mean U and V of each cell, likewise.
void MeasureCellChroma(const Nv12View &view, const RowBands &bands, cv::Mat &mean_u, cv::Mat &mean_v);

// For loops over rows of cells: so many make a band.
inline constexpr int kCellRowsOfBand = RowBands::kRows / kCell;

// One fixed-point value per cell, from 0 to 32767, or with a sign, from -16384 to 16383.
// Owns: the values. Threads: one at a time to change them, any to read.
class CellMap {
 public:
  // Scratch memory for one row.
  using Blended = std::vector<int16_t>;

  void Resize(int columns, int rows);
  int16_t *Row(int row) { return values_.data() + static_cast<size_t>(columns_) * row; }
  const int16_t *Row(int row) const { return values_.data() + static_cast<size_t>(columns_) * row; }

  // The map at one row of luma: `out` takes 4 values for each cell, columns rounded up to 8 of them.
  void ExpandToLuma(int luma_row, Blended &blended, int16_t *out) const;
  // The map at one row of chroma: `out` takes 2 values for each cell, each twice, for U and V.
  void ExpandToChroma(int chroma_row, Blended &blended, int16_t *out) const;

 private:
  // Blends the cell row that holds the pixel row with its nearer neighbour; `scale` pixel rows make a cell. There is
  // one value of margin on the left, and a step's worth on the right.
  void Blend(int pixel_row, int scale, Blended &blended) const;

  int columns_ = 0;
  int rows_ = 0;
  std::vector<int16_t> values_;
};

}  // namespace lumivex
