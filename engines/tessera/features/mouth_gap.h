// What is between the lips.
#pragma once

#include "features/face_cues.h"
#include "features/face_features.h"

namespace tessera {

// Between the lips it is dark: a thin line, or the dark of the mouth, with teeth above and below it. Finds the lips'
// inner edges where the corners and the line of `mouth` are known. Threads: any.
void FindMouthGap(const FaceCues &face, Mouth &mouth);

}  // namespace tessera
