// Sharpens luma by an unsharp mask one pixel wide.
#pragma once

#include <cstdint>
#include <vector>

#include "pixels/cell_grid.h"
#include "pixels/nv12_view.h"
#include "pixels/row_window.h"

namespace lumivex {

// Owns: rows of scratch. Borrows: the frame, for the call. Threads: one at a time.
class SharpenStage {
 public:
  // `strength` from 0 to 1; 1 doubles the detail. Noise of a level or so is left, and so is black and white overshoot.
  // `share` says how much of it each cell gets, in 1/32768ths; null: all of it everywhere.
  void Apply(const Nv12View &view, float strength, const CellMap *share = nullptr, const RowBands &bands = RowBands());

 private:
  // What one thread needs for its rows.
  struct Scratch {
    RowWindow window;
    CellMap::Blended blended;
    std::vector<uint8_t> out;
    std::vector<int16_t> amount;
  };

  BandEdges edges_;
  std::vector<Scratch> scratch_;
};

}  // namespace lumivex
