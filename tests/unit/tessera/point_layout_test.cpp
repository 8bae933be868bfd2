#include "tessera/point_layout.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "shape/mean_shape.h"
#include "vanta_base/point_order.h"

namespace {

std::vector<vanta::PointXY> MeanPoints() {
  std::vector<vanta::PointXY> points;
  for (const cv::Point2f &point : tessera::MeanShape()) points.push_back({point.x, point.y});
  return points;
}

TEST(PointLayout, HasAHundredAndOnePointsAndEachStandsElsewhere) {
  const std::vector<vanta::PointXY> points = MeanPoints();
  ASSERT_EQ(points.size(), tessera::kPointCount);
  for (size_t i = 0; i < points.size(); ++i) {
    EXPECT_EQ(std::count(points.begin(), points.end(), points[i]), 1) << i;
  }
}

// The order of the runner's list is that of the mirrored face: so says the table that leads from one to the other.
TEST(PointLayout, PublishedOrderIsTheMirrorImageOfTheRunnersOrder) {
  const std::vector<vanta::PointXY> points = MeanPoints();
  std::vector<vanta::PointXY> other = points;
  vanta::ReorderPoints(other);
  for (size_t i = 0; i < points.size(); ++i) {
    EXPECT_FLOAT_EQ(other[i].x, -points[i].x) << i;
    EXPECT_FLOAT_EQ(other[i].y, points[i].y) << i;
  }
}

TEST(PointLayout, ContourGoesFromTheLeftEarOverTheChinToTheRight) {
  const auto &points = tessera::MeanShape();
  for (size_t i = tessera::kContour.first; i < tessera::kContour.last; ++i)
    EXPECT_LT(points[i].x, points[i + 1].x) << i;
  const auto chin = std::max_element(points.begin(), points.end(),
                                     [](const cv::Point2f &a, const cv::Point2f &b) { return a.y < b.y; });
  EXPECT_EQ(static_cast<size_t>(chin - points.begin()), tessera::kChin);
}

TEST(PointLayout, PartsOfTheFaceStandAboveEachOther) {
  const auto &points = tessera::MeanShape();
  EXPECT_LT(points[tessera::kLeftBrowUpper.first].y, points[tessera::kLeftEyeOuterCorner].y);
  EXPECT_LT(points[tessera::kNoseRoot].y, points[tessera::kNoseTip].y);
  EXPECT_LT(points[tessera::kNoseTip].y, points[tessera::kNoseBase].y);
  EXPECT_LT(points[tessera::kNoseBase].y, points[tessera::kUpperLipTop].y);
  EXPECT_LT(points[tessera::kUpperLipTop].y, points[tessera::kUpperLipMiddle].y);
  EXPECT_LT(points[tessera::kUpperLipMiddle].y, points[tessera::kLowerLipMiddle].y);
  EXPECT_LT(points[tessera::kLowerLipMiddle].y, points[tessera::kLowerLipBottom].y);
  EXPECT_LT(points[tessera::kLowerLipBottom].y, points[tessera::kChin].y);
}

TEST(PointLayout, PupilsAreTheUnit) {
  const auto &points = tessera::MeanShape();
  EXPECT_EQ(points[tessera::kLeftPupil], cv::Point2f(-0.5F, 0));
  EXPECT_EQ(points[tessera::kRightPupil], cv::Point2f(0.5F, 0));
}

}  // namespace
