// Moves the parts of a face: slimmer, larger eyes and the like.
#pragma once

#include "faces/face_settings.h"
#include "faces/faces.h"
#include "warp/warp_field.h"

namespace lumivex {

bool AnyDeform(const DeformValues &values);

// Adds what the values ask for to the field. Every movement fades out smoothly around the part that it moves.
void AddFaceWarps(const Face &face, const DeformValues &values, WarpField &field);

}  // namespace lumivex
