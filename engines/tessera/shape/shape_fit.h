// Bends the mean shape to what was found in a face.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "features/face_features.h"
#include "vision/picture_view.h"

namespace tessera {

// The 101 points in the published order, in pixels of the picture. What was not found stands where an average face has
// it. Threads: any.
std::vector<cv::Point2f> FitShape(const Placement &placement, const Features &features);

// How far the lips' inner edges are apart in the middle of the mouth that is drawn, in units; a closed one has about
// 0.03.
float MouthOpening(const Mouth &mouth);

}  // namespace tessera
