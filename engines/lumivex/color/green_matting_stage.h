// Replaces a green backdrop by a dark grey one.
#pragma once

#include <cstdint>
#include <vector>

#include "pixels/nv12_view.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// A pixel belongs to the backdrop as far as its chroma points at green and little aside of it. Green that spills on the
// subject is taken out along the same direction.
// Owns: tables over all chroma codes and one row of matte. Borrows: the frame, for the call. Threads: one at a time.
class GreenMattingStage {
 public:
  void Apply(const Nv12View &view, const YuvSpace &space);

 private:
  struct Entry {
    uint8_t opacity;  // 0 backdrop, 255 subject
    uint8_t u;        // the chroma code without its green
    uint8_t v;
  };

  void Prepare(const YuvSpace &space);
  void MatteLuma(const Nv12View &view, int chroma_row) const;
  void MatteChroma(const Nv12View &view, int chroma_row);

  YuvSpace space_;
  uint8_t backdrop_luma_ = 0;
  std::vector<Entry> table_;      // by U, then V; empty until prepared
  std::vector<uint8_t> opacity_;  // one row of chroma
};

}  // namespace lumivex
