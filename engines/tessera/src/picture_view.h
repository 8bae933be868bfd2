// A picture as the runner's stages see it.
#pragma once

#include <opencv2/core.hpp>

namespace tessera {

// Borrows the planes of an I420 picture. Chroma has half the size, rounded up.
struct PictureView {
  cv::Mat y;
  cv::Mat u;
  cv::Mat v;
};

}  // namespace tessera
