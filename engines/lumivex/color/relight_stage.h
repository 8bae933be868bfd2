// Adds a soft key light from the upper left of the upright picture.
#pragma once

#include <cstdint>
#include <vector>

#include "pixels/nv12_view.h"
#include "pixels/orientation.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// The light falls off as a Gaussian of each upright axis, so quarter turns and mirroring only change which of the two a
// stored row or column belongs to.
// Owns: the fall-off of the last call's frame size. Borrows: the frame, for the call. Threads: one at a time.
class RelightStage {
 public:
  // `strength` from 0 to 1.
  void Apply(const Nv12View &view, const YuvSpace &space, const Orientation &orientation, float strength);

 private:
  void Prepare(int width, int height, const Orientation &orientation);

  int width_ = 0;
  int height_ = 0;
  Orientation orientation_;
  std::vector<int16_t> columns_;  // light on each column, in 1/32768ths
  std::vector<float> rows_;       // light on each row, 0 to 1
  std::vector<uint8_t> out_row_;
};

}  // namespace lumivex
