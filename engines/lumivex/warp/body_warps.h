// Slims the bodies below the faces, and lengthens legs.
#pragma once

#include "faces/face_settings.h"
#include "faces/faces.h"
#include "pixels/orientation.h"
#include "warp/warp_field.h"

namespace lumivex {

bool AnySlimming(const SlimmingValues &values);

// Adds what the values ask for to the field of a picture of that size. Where a body's parts are is told from its face
// by an adult's proportions, standing upright in the upright picture; the legs also by the range, if there is one.
// False when there is nothing to slim: no face, and no range of legs where those are asked for.
bool AddBodyWarps(const Faces &faces, const Orientation &orientation, int width, int height,
                  const SlimmingValues &values, const std::optional<LegRange> &legs, WarpField &field);

}  // namespace lumivex
