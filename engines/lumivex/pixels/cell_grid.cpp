#include "pixels/cell_grid.h"

#include <algorithm>
#include <opencv2/core/hal/intrin.hpp>

namespace lumivex {
namespace {

constexpr int kStep = 8;  // cells that a loop takes at once

// Distance from a pixel's centre to its cell's centre, in cells, as a fraction of 65536 of the way to the neighbour.
constexpr int16_t kEighth = 8192;
constexpr int16_t kQuarter = 16384;
constexpr int16_t kThreeEighths = 24576;

cv::v_int16x8 Toward(const cv::v_int16x8 &here, const cv::v_int16x8 &neighbour, int16_t fraction) {
  return here + cv::v_mul_hi(neighbour - here, cv::v_setall_s16(fraction));
}

void AddMoments(const uint8_t *pixels, int count, uint32_t &sum, uint32_t &square) {
  for (int x = 0; x < count; ++x) {
    sum += pixels[x];
    square += static_cast<uint32_t>(pixels[x]) * pixels[x];
  }
}

void MeasureRow(const Nv12View &view, int row, float *mean, float *square) {
  constexpr int kCellsAtOnce = 4;
  const int columns = (view.width + kCell - 1) / kCell;
  const int fast_columns = view.width / (kCell * kCellsAtOnce) * kCellsAtOnce;
  const cv::v_uint8x16 ones = cv::v_setall_u8(1);
  const cv::v_float32x4 whole_cell = cv::v_setall_f32(1.0f / (kCell * kCell));
  const int pixel_rows = std::min(kCell, view.height - row * kCell);
  const uint8_t *top = view.YRow(row * kCell);
  int column = 0;
  for (; pixel_rows == kCell && column < fast_columns; column += kCellsAtOnce) {
    cv::v_uint32x4 sum = cv::v_setzero_u32();
    cv::v_uint32x4 squares = cv::v_setzero_u32();
    for (int i = 0; i < kCell; ++i) {
      const cv::v_uint8x16 pixels = cv::v_load(top + view.y_stride * i + column * kCell);
      sum += cv::v_dotprod_expand(pixels, ones);
      squares += cv::v_dotprod_expand(pixels, pixels);
    }
    cv::v_store(mean + column, cv::v_cvt_f32(cv::v_reinterpret_as_s32(sum)) * whole_cell);
    cv::v_store(square + column, cv::v_cvt_f32(cv::v_reinterpret_as_s32(squares)) * whole_cell);
  }
  for (; column < columns; ++column) {
    const int pixel_columns = std::min(kCell, view.width - column * kCell);
    uint32_t sum = 0;
    uint32_t squares = 0;
    for (int i = 0; i < pixel_rows; ++i) {
      AddMoments(top + view.y_stride * i + column * kCell, pixel_columns, sum, squares);
    }
    const float scale = 1.0f / static_cast<float>(pixel_rows * pixel_columns);
    mean[column] = static_cast<float>(sum) * scale;
    square[column] = static_cast<float>(squares) * scale;
  }
}

// Means of cells from two rows of one channel, each pair of pairs beside each other.
void StoreChromaMeans(const cv::v_uint8x16 &upper, const cv::v_uint8x16 &lower, float *means) {
  const cv::v_int16x8 ones = cv::v_setall_s16(1);
  const cv::v_float32x4 quarter = cv::v_setall_f32(0.25f);
  cv::v_uint16x8 upper_left, upper_right, lower_left, lower_right;
  cv::v_expand(upper, upper_left, upper_right);
  cv::v_expand(lower, lower_left, lower_right);
  const auto store = [&](const cv::v_uint16x8 &sums, float *to) {
    cv::v_store(to, cv::v_cvt_f32(cv::v_dotprod(cv::v_reinterpret_as_s16(sums), ones)) * quarter);
  };
  store(upper_left + lower_left, means);
  store(upper_right + lower_right, means + 4);
}

void MeasureChromaRow(const Nv12View &view, int row, float *us, float *vs) {
  const uint8_t *upper = view.UvRow(2 * row);
  const uint8_t *lower = view.UvRow(std::min(2 * row + 1, view.chroma_height - 1));
  const int columns = (view.width + kCell - 1) / kCell;
  int column = 0;
  for (; column + kStep <= view.chroma_width / 2; column += kStep) {
    cv::v_uint8x16 upper_u, upper_v, lower_u, lower_v;
    cv::v_load_deinterleave(upper + 4 * column, upper_u, upper_v);
    cv::v_load_deinterleave(lower + 4 * column, lower_u, lower_v);
    StoreChromaMeans(upper_u, lower_u, us + column);
    StoreChromaMeans(upper_v, lower_v, vs + column);
  }
  for (; column < columns; ++column) {
    const int left = 4 * column;
    const int right = 2 * column + 1 < view.chroma_width ? left + 2 : left;
    us[column] = static_cast<float>(upper[left] + upper[right] + lower[left] + lower[right]) * 0.25f;
    vs[column] = static_cast<float>(upper[left + 1] + upper[right + 1] + lower[left + 1] + lower[right + 1]) * 0.25f;
  }
}

}  // namespace

void MeasureCells(const Nv12View &view, const RowBands &bands, cv::Mat &mean, cv::Mat &square) {
  const int columns = (view.width + kCell - 1) / kCell;
  const int rows = (view.height + kCell - 1) / kCell;
  mean.create(rows, columns, CV_32F);
  square.create(rows, columns, CV_32F);
  bands.Run(rows, kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = first; row < end; ++row) MeasureRow(view, row, mean.ptr<float>(row), square.ptr<float>(row));
  });
}

void MeasureCellChroma(const Nv12View &view, const RowBands &bands, cv::Mat &mean_u, cv::Mat &mean_v) {
  const int columns = (view.width + kCell - 1) / kCell;
  const int rows = (view.height + kCell - 1) / kCell;
  mean_u.create(rows, columns, CV_32F);
  mean_v.create(rows, columns, CV_32F);
  bands.Run(rows, kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = first; row < end; ++row) MeasureChromaRow(view, row, mean_u.ptr<float>(row), mean_v.ptr<float>(row));
  });
}

void CellMap::Resize(int columns, int rows) {
  columns_ = columns;
  rows_ = rows;
  values_.resize(static_cast<size_t>(columns) * rows + kStep);
}

void CellMap::Blend(int pixel_row, int scale, Blended &blended) const {
  const int row = pixel_row / scale;
  const int place = pixel_row % scale;
  const bool upper = place < scale / 2;
  const int neighbour = std::clamp(upper ? row - 1 : row + 1, 0, rows_ - 1);
  const int from_centre = upper ? scale - 1 - 2 * place : 2 * place + 1 - scale;  // in half pixels
  const auto fraction = static_cast<int16_t>(65536 / (2 * scale) * from_centre);

  const int16_t *near_row = Row(row);
  const int16_t *far_row = Row(neighbour);
  blended.resize(static_cast<size_t>(columns_) + 2 * kStep + 1);
  int16_t *out = blended.data() + 1;
  for (int x = 0; x < columns_; x += kStep) {
    cv::v_store(out + x, Toward(cv::v_load(near_row + x), cv::v_load(far_row + x), fraction));
  }
  out[-1] = out[0];
  std::fill_n(out + columns_, kStep, out[columns_ - 1]);
}

void CellMap::ExpandToLuma(int luma_row, Blended &blended, int16_t *out) const {
  Blend(luma_row, kCell, blended);
  const int16_t *row = blended.data() + 1;
  for (int x = 0; x < columns_; x += kStep) {
    const cv::v_int16x8 here = cv::v_load(row + x);
    const cv::v_int16x8 left = cv::v_load(row + x - 1);
    const cv::v_int16x8 right = cv::v_load(row + x + 1);
    cv::v_store_interleave(out + kCell * x, Toward(here, left, kThreeEighths), Toward(here, left, kEighth),
                           Toward(here, right, kEighth), Toward(here, right, kThreeEighths));
  }
}

void CellMap::ExpandToChroma(int chroma_row, Blended &blended, int16_t *out) const {
  Blend(chroma_row, kCell / 2, blended);
  const int16_t *row = blended.data() + 1;
  for (int x = 0; x < columns_; x += kStep) {
    const cv::v_int16x8 here = cv::v_load(row + x);
    const cv::v_int16x8 left = Toward(here, cv::v_load(row + x - 1), kQuarter);
    const cv::v_int16x8 right = Toward(here, cv::v_load(row + x + 1), kQuarter);
    cv::v_store_interleave(out + kCell * x, left, left, right, right);
  }
}

}  // namespace lumivex
