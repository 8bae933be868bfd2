// A blur that costs little where it is wide.
#pragma once

#include <opencv2/core.hpp>

namespace tessera {

// By a bell of that standard deviation, pixels. A wide one is taken of a smaller picture.
cv::Mat Blurred(const cv::Mat &picture, double sigma);

}  // namespace tessera
