// Pictures as networks take them.
#pragma once

#include <opencv2/core.hpp>

#include "vision/picture_view.h"

namespace tessera {

// BGR, 0 to 255, from I420 of video range. Chroma is half as large as luma (both sides of which are even), or empty:
// grey.
cv::Mat ColourPicture(const cv::Mat &y, const cv::Mat &u, const cv::Mat &v);

}  // namespace tessera
