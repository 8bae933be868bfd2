#include "networks/colour_picture.h"

#include <opencv2/imgproc.hpp>

namespace tessera {

cv::Mat ColourPicture(const cv::Mat &y, const cv::Mat &u, const cv::Mat &v) {
  cv::Mat i420(y.rows * 3 / 2, y.cols, CV_8UC1, cv::Scalar(128));
  y.copyTo(i420.rowRange(0, y.rows));
  if (!u.empty() && !v.empty()) {
    uint8_t *chroma = i420.ptr(y.rows);
    u.copyTo(cv::Mat(u.rows, u.cols, CV_8UC1, chroma));
    v.copyTo(cv::Mat(v.rows, v.cols, CV_8UC1, chroma + u.total()));
  }
  cv::Mat colour;
  cv::cvtColor(i420, colour, cv::COLOR_YUV2BGR_I420);
  return colour;
}

}  // namespace tessera
