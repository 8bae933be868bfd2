#include "warp/warp_stage.h"

#include "warp/body_warps.h"
#include "warp/face_warps.h"

namespace lumivex {

bool WarpRequest::Any() const {
  return AnyDeform(deform) || AnySlimming(slimming);
}

bool WarpRequest::NeedsFaces() const {
  if (!legs) return Any();
  SlimmingValues others = slimming;
  others[static_cast<size_t>(kSlimLegLength)] = 0.0f;
  return AnyDeform(deform) || AnySlimming(others);
}

bool WarpStage::Apply(const Nv12View &view, const Orientation &orientation, const Faces &faces,
                      const WarpRequest &request, bool fine, const RowBands &bands) {
  field_.Begin(view.width, view.height);
  // What is added first is done last: the bodies move with the faces on them.
  const bool slimmed =
      AddBodyWarps(faces, orientation, view.width, view.height, request.slimming, request.legs, field_);
  for (const Face &face : faces) AddFaceWarps(face, request.deform, field_);
  field_.End();
  warp_.Apply(view, field_, fine, bands);
  applied_ = field_.Moves();
  return slimmed;
}

}  // namespace lumivex
