// Features over time: noise is held back, what moves is followed.
#pragma once

#include "features/face_features.h"

namespace tessera {

// Brings `smooth` nearer to what was found in the next picture. The features were looked for in a head that is turned
// as far as the smooth one was.
void Smooth(Turn &smooth, const Turn &found);
void Smooth(Features &smooth, const Features &found);

}  // namespace tessera
