#include "pixels/row_window.h"

#include <cstring>
#include <opencv2/core/hal/intrin.hpp>

namespace lumivex {

void RowWindow::Begin(const uint8_t *plane, ptrdiff_t stride, int width, int height) {
  plane_ = plane;
  stride_ = stride;
  width_ = width;
  height_ = height;
  padded_width_ = (width + kStep - 1) / kStep * kStep;
  row_ = 0;
  for (RowCopy &slot : slots_) {
    slot.pixels.resize(static_cast<size_t>(kMargin) + padded_width_ + kMargin);
    slot.sums.resize(static_cast<size_t>(padded_width_));
  }
  Load(0);
  if (height_ > 1) Load(1);
}

void RowWindow::Advance() {
  ++row_;
  if (row_ + 1 < height_) Load(row_ + 1);
}

void RowWindow::Load(int row) {
  RowCopy &slot = slots_[row % 3];
  uint8_t *pixels = slot.pixels.data() + kMargin;
  std::memcpy(pixels, plane_ + stride_ * row, static_cast<size_t>(width_));
  std::memset(pixels + width_, pixels[width_ - 1], static_cast<size_t>(padded_width_ - width_ + kMargin));
  pixels[-1] = pixels[0];
  for (int x = 0; x < padded_width_; x += kStep) {
    const cv::v_uint16x8 left = cv::v_load_expand(pixels + x - 1);
    const cv::v_uint16x8 here = cv::v_load_expand(pixels + x);
    const cv::v_uint16x8 right = cv::v_load_expand(pixels + x + 1);
    cv::v_store(slot.sums.data() + x, cv::v_reinterpret_as_s16(left + here + here + right));
  }
}

}  // namespace lumivex
