#include "lower_face.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace tessera {
namespace {

constexpr float kDensity = 40;  // pixels per unit
const cv::Rect2f kWindow(-0.8F, 0.3F, 1.6F, 1.3F);

cv::Mat Blurred(const cv::Mat &picture, float units) {
  cv::Mat blurred;
  cv::GaussianBlur(picture, blurred, cv::Size(0, 0), units * kDensity);
  return blurred;
}

cv::Mat Cut(const cv::Mat &plane, const Placement &placement, bool halved) {
  cv::Mat patch;
  CutUpright(plane, placement, kWindow, kDensity, halved).convertTo(patch, CV_32F);
  return patch;
}

}  // namespace

float LowerFace::Column(float x) const {
  return (x - kWindow.x) * kDensity - 0.5F;
}

float LowerFace::Row(float y) const {
  return (y - kWindow.y) * kDensity - 0.5F;
}

float LowerFace::X(float column) const {
  return (column + 0.5F) / kDensity + kWindow.x;
}

float LowerFace::Y(float row) const {
  return (row + 0.5F) / kDensity + kWindow.y;
}

LowerFace::LowerFace(const PictureView &picture, const Placement &placement) {
  const cv::Mat luma = Cut(picture.y, placement, false);
  const cv::Mat fine = Blurred(luma, 0.02F);
  lines = cv::max(Blurred(luma, 0.22F) - fine, 0);
  spots = cv::max(Blurred(luma, 0.09F) - fine, 0);
  if (picture.u.empty() || picture.v.empty()) return;

  const cv::Mat u = Blurred(Cut(picture.u, placement, true), 0.03F);
  const cv::Mat v = Blurred(Cut(picture.v, placement, true), 0.03F);
  // The skin's colour: what cheeks and chin have in common.
  const auto skin = [this](const cv::Mat &chroma) {
    std::vector<float> values;
    const auto take = [&](float x, float y) {
      values.push_back(chroma.at<float>(cvRound(Row(y)), cvRound(Column(x))));
    };
    for (float y = 0.4F; y < 0.75F; y += 0.03F) {
      for (const float x : {-0.7F, -0.6F, -0.5F, 0.5F, 0.6F, 0.7F}) take(x, y);
    }
    for (float y = 1.4F; y < 1.5F; y += 0.03F) {
      for (float x = -0.2F; x <= 0.2F; x += 0.05F) take(x, y);
    }
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
  };
  // Lips are redder than skin, teeth paler; both are less yellow.
  colour = cv::abs(v - skin(v)) + cv::max(u - skin(u), 0);
}

}  // namespace tessera
