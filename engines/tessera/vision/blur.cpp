#include "vision/blur.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

namespace tessera {

cv::Mat Blurred(const cv::Mat &picture, double sigma) {
  const int factor = sigma > 5 ? 4 : sigma > 2.5 ? 2 : 1;
  cv::Mat blurred;
  if (factor == 1) {
    cv::GaussianBlur(picture, blurred, cv::Size(0, 0), sigma);
    return blurred;
  }
  cv::Mat small;
  const cv::Size size(std::max(1, picture.cols / factor), std::max(1, picture.rows / factor));
  cv::resize(picture, small, size, 0, 0, cv::INTER_AREA);
  cv::GaussianBlur(small, small, cv::Size(0, 0), sigma / factor);
  cv::resize(small, blurred, picture.size(), 0, 0, cv::INTER_LINEAR);
  return blurred;
}

}  // namespace tessera
