// Deforms faces and slims bodies, in one movement of the pixels.
#pragma once

#include "faces/face_settings.h"
#include "faces/faces.h"
#include "pixels/nv12_view.h"
#include "pixels/orientation.h"
#include "warp/nv12_warp.h"
#include "warp/warp_field.h"

namespace lumivex {

struct WarpRequest {
  DeformValues deform = {};
  SlimmingValues slimming = {};
  std::optional<LegRange> legs;

  bool Any() const;
  bool NeedsFaces() const;
};

// Owns: the field and the warp's scratch memory. Borrows: frame and faces, for the call. Threads: one at a time.
class WarpStage {
 public:
  // For each frame, before Apply: nothing is moved yet.
  void Begin() { applied_ = false; }
  // Whether there was somebody to slim. Without `fine` what is enlarged gets less sharp, sooner.
  bool Apply(const Nv12View &view, const Orientation &orientation, const Faces &faces, const WarpRequest &request,
             bool fine = true, const RowBands &bands = RowBands());
  // What the frame's pixels were moved by; null where they were not.
  const WarpField *Applied() const { return applied_ ? &field_ : nullptr; }

 private:
  WarpField field_;
  Nv12Warp warp_;
  bool applied_ = false;
};

}  // namespace lumivex
