// How far a head is turned aside.
#pragma once

#include <opencv2/core.hpp>

#include "vision/picture_view.h"

namespace tessera {

struct Turn {
  float tangent = 0;     // of the angle; above 0: to the right of the picture
  float confidence = 0;  // 0 to 1
};

inline constexpr float kMostTangent = 1;  // no head that is turned farther is told

// Nose, mouth and brows are alike on both sides, of a plane that goes with the head: the angle is the one at which what
// is seen on either side of that plane is most alike. The pupils have to be right. Threads: any.
Turn FindTurn(const cv::Mat &luma, const Placement &placement);

}  // namespace tessera
