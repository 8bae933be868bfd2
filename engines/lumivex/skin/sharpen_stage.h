// Sharpens luma by an unsharp mask one pixel wide.
#pragma once

#include <cstdint>
#include <vector>

#include "pixels/nv12_view.h"
#include "pixels/row_window.h"

namespace lumivex {

// Owns: rows of scratch. Borrows: the frame, for the call. Threads: one at a time.
class SharpenStage {
 public:
  // `strength` from 0 to 1; 1 doubles the detail. Noise of a level or so is left, and so is black and white overshoot.
  void Apply(const Nv12View &view, float strength);

 private:
  RowWindow rows_;
  std::vector<uint8_t> out_row_;
};

}  // namespace lumivex
