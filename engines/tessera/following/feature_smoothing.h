// Features over time: noise is held back, what moves is followed.
#pragma once

#include "features/face_features.h"

namespace tessera {

// Brings `smooth` nearer to what was found in the next picture.
void Smooth(Features &smooth, const Features &found);

}  // namespace tessera
