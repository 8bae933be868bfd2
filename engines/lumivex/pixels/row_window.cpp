#include "pixels/row_window.h"

#include <cstring>
#include <opencv2/core/hal/intrin.hpp>

namespace lumivex {

void RowWindow::Begin(const Plane &plane, int first, int end, int from, const BandEdges &edges) {
  plane_ = plane;
  edges_ = &edges;
  padded_width_ = PaddedWidth(plane.width);
  first_ = first;
  end_ = end;
  row_ = from;
  for (RowCopy &slot : slots_) {
    slot.pixels.resize(static_cast<size_t>(kMargin) + padded_width_ + kMargin);
    slot.sums.resize(static_cast<size_t>(padded_width_));
  }
  if (from > 0) Load(from - 1);
  Load(from);
  if (from + 1 < plane_.height) Load(from + 1);
}

void RowWindow::Advance() {
  ++row_;
  if (row_ < end_ && row_ + 1 < plane_.height) Load(row_ + 1);
}

void RowWindow::Load(int row) {
  RowCopy &slot = slots_[static_cast<size_t>(row) % 3];
  uint8_t *pixels = slot.pixels.data() + kMargin;
  const uint8_t *source = plane_.pixels + plane_.stride * row;
  if (row < first_) source = edges_->Above(first_);
  if (row >= end_) source = edges_->Below(end_);
  const int width = plane_.width;
  std::memcpy(pixels, source, static_cast<size_t>(width));
  std::memset(pixels + width, pixels[width - 1], static_cast<size_t>(padded_width_ - width + kMargin));
  pixels[-1] = pixels[0];
  for (int x = 0; x < padded_width_; x += kStep) {
    const cv::v_uint16x8 left = cv::v_load_expand(pixels + x - 1);
    const cv::v_uint16x8 here = cv::v_load_expand(pixels + x);
    const cv::v_uint16x8 right = cv::v_load_expand(pixels + x + 1);
    cv::v_store(slot.sums.data() + x, cv::v_reinterpret_as_s16(left + here + here + right));
  }
}

}  // namespace lumivex
