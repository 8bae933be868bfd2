// The face of an average adult, seen from the front.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace tessera {

// 101 points in the published order. The origin lies between the pupils, the unit is the distance between them, y goes
// down; left and right are exact mirrors.
const std::vector<cv::Point2f> &MeanShape();

}  // namespace tessera
