// Deforms faces and slims bodies, in one movement of the pixels.
#pragma once

#include "face_settings.h"
#include "faces.h"
#include "nv12_view.h"
#include "nv12_warp.h"
#include "orientation.h"
#include "warp_field.h"

namespace lumivex {

struct WarpWish {
  DeformValues deform = {};
  SlimmingValues slimming = {};
  std::optional<LegRange> legs;

  bool Any() const;
  bool NeedsFaces() const;
};

// Owns: the field and the warp's scratch memory. Borrows: frame and faces, for the call. Threads: one at a time.
class WarpStage {
 public:
  // Whether there was somebody to slim.
  bool Apply(const Nv12View &view, const Orientation &orientation, const Faces &faces, const WarpWish &wish);

 private:
  WarpField field_;
  Nv12Warp warp_;
};

}  // namespace lumivex
