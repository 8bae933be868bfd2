// Host planes with memory behind them that the host's scaler may read.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <obs.h>

#include "frames/plane_layout.h"

namespace vanta {

inline constexpr size_t kScalerReadAhead = 64;  // bytes, twice the longest read past a plane that was seen

// The scaler's vector code loads whole registers and so reads up to 32 bytes past the last row where a row is no
// multiple of its step. It drops what it read there, and inside a page such a read is harmless; a plane that ends with
// its page is handed over as a padded copy. Owns: the copies, kept from frame to frame. Borrows: the host's planes,
// until the next Of. Threads: confined by the owner.
class ReadablePlanes {
 public:
  // The planes to read `frame` from; null pointers past the format's last plane.
  const uint8_t *const *Of(const obs_source_frame &frame, const FrameLayout &layout);

 private:
  const uint8_t *planes_[MAX_AV_PLANES] = {};
  std::vector<uint8_t> copies_[4];
};

}  // namespace vanta
