// Sharpens luma by an unsharp mask one pixel wide.
#pragma once

#include "pixels/cell_grid.h"
#include "pixels/mapped_rows.h"
#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"

namespace lumivex {

// Owns: rows of scratch. Borrows: the frame, for the call. Threads: one at a time.
class SharpenStage {
 public:
  // `strength` from 0 to 1; 1 doubles the detail. Noise of a level or so is left, and so is black and white overshoot.
  // `share` says how much of it each cell gets, in 1/32768ths; null: all of it everywhere.
  void Apply(const Nv12View &view, float strength, const CellMap *share = nullptr, const RowBands &bands = RowBands());

 private:
  MappedRows rows_;
};

}  // namespace lumivex
