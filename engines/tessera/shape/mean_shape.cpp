// The proportions are those of anthropometric tables of adults (distances between pupils, eye corners, wings of the
// nose, corners of the mouth, cheeks and jaw), as parts of a pupil distance of 63 mm.
#include "shape/mean_shape.h"

#include <array>

#include "tessera/point_layout.h"

namespace tessera {
namespace {

struct Part {
  size_t first;       // index of the first point
  size_t mirror_sum;  // index of a point and of its mirror image together
  std::vector<cv::Point2f> points;
};

// Left half and middle; the rest is mirrored.
const std::array<Part, 10> &LeftHalf() {
  static const std::array<Part, 10> parts = {{
      {kContour.first,
       18,
       {{-1.10F, 0.02F},
        {-1.09F, 0.26F},
        {-1.06F, 0.50F},
        {-1.01F, 0.74F},
        {-0.93F, 0.98F},
        {-0.82F, 1.21F},
        {-0.67F, 1.42F},
        {-0.48F, 1.60F},
        {-0.25F, 1.73F},
        {0.0F, 1.78F}}},
      {kLeftBrowUpper.first,
       53,
       {{-0.86F, -0.26F}, {-0.74F, -0.37F}, {-0.60F, -0.42F}, {-0.46F, -0.42F}, {-0.32F, -0.39F}, {-0.19F, -0.34F}}},
      {kLeftBrowLower.first, 63, {{-0.20F, -0.26F}, {-0.36F, -0.30F}, {-0.53F, -0.33F}, {-0.70F, -0.30F}}},
      {kLeftUpperLid.first,
       96,
       {{-0.735F, 0.02F},
        {-0.66F, -0.05F},
        {-0.58F, -0.10F},
        {-0.49F, -0.115F},
        {-0.40F, -0.09F},
        {-0.32F, -0.03F},
        {-0.265F, 0.04F}}},
      {kLeftLowerLid.first, 108, {{-0.34F, 0.07F}, {-0.41F, 0.09F}, {-0.49F, 0.10F}, {-0.57F, 0.09F}, {-0.66F, 0.06F}}},
      {kNoseSides.first,
       137,
       {{-0.14F, 0.08F}, {-0.16F, 0.30F}, {-0.22F, 0.48F}, {-0.28F, 0.62F}, {-0.22F, 0.72F}, {-0.10F, 0.74F}}},
      {kUpperLipOuter.first, 156, {{-0.40F, 1.05F}, {-0.25F, 0.97F}, {-0.09F, 0.92F}, {0.0F, 0.94F}}},
      {kLowerLipOuter.first + 2, 168, {{0.0F, 1.23F}, {-0.16F, 1.20F}, {-0.30F, 1.13F}}},
      {kUpperLipInner.first, 178, {{-0.34F, 1.05F}, {-0.16F, 1.04F}, {0.0F, 1.04F}}},
      {kLowerLipInner.first + 1, 186, {{0.0F, 1.07F}, {-0.16F, 1.07F}}},
  }};
  return parts;
}

std::vector<cv::Point2f> BuildShape() {
  std::vector<cv::Point2f> shape(kPointCount);
  for (const Part &part : LeftHalf()) {
    for (size_t i = 0; i < part.points.size(); ++i) {
      const cv::Point2f point = part.points[i];
      shape[part.first + i] = point;
      shape[part.mirror_sum - part.first - i] = {-point.x, point.y};
    }
  }
  shape[kLeftPupil] = {-0.5F, 0.0F};
  shape[kRightPupil] = {0.5F, 0.0F};
  shape[kNoseRoot] = {0.0F, 0.03F};
  shape[kNoseRidge] = {0.0F, 0.33F};
  shape[kNoseTip] = {0.0F, 0.60F};
  shape[kNoseBase] = {0.0F, 0.76F};
  return shape;
}

}  // namespace

const std::vector<cv::Point2f> &MeanShape() {
  static const std::vector<cv::Point2f> shape = BuildShape();
  return shape;
}

}  // namespace tessera
