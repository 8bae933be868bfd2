#include "warp_stage.h"

#include "body_warps.h"
#include "face_warps.h"

namespace lumivex {

bool WarpWish::Any() const {
  return AnyDeform(deform) || AnySlimming(slimming);
}

bool WarpWish::NeedsFaces() const {
  if (!legs) return Any();
  SlimmingValues others = slimming;
  others[static_cast<size_t>(kSlimLegLength)] = 0.0f;
  return AnyDeform(deform) || AnySlimming(others);
}

bool WarpStage::Apply(const Nv12View &view, const Orientation &orientation, const Faces &faces, const WarpWish &wish) {
  field_.Begin(view.width, view.height);
  for (const Face &face : faces) AddFaceWarps(face, wish.deform, field_);
  const bool slimmed = AddBodyWarps(faces, orientation, view.width, view.height, wish.slimming, wish.legs, field_);
  field_.End();
  warp_.Apply(view, field_);
  return slimmed;
}

}  // namespace lumivex
