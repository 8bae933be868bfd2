#include "following/similarity.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using tessera::Placement;

std::vector<cv::Point2f> Grid() {
  std::vector<cv::Point2f> points;
  for (int y = -2; y <= 2; ++y) {
    for (int x = -2; x <= 2; ++x) points.emplace_back(0.3F * static_cast<float>(x), 0.25F * static_cast<float>(y));
  }
  return points;
}

std::vector<cv::Point2f> Moved(const std::vector<cv::Point2f> &points, const Placement &by) {
  std::vector<cv::Point2f> moved;
  for (const cv::Point2f &point : points) moved.push_back(by.ToPicture(point));
  return moved;
}

TEST(Similarity, IsFoundExactlyWhereAllPointsAgree) {
  const Placement truth{{0.12F, -0.07F}, 1.1F, 0.2F};
  const auto found = tessera::FitSimilarity(Grid(), Moved(Grid(), truth), 8);
  ASSERT_TRUE(found);
  EXPECT_NEAR(found->origin.x, truth.origin.x, 1e-4);
  EXPECT_NEAR(found->origin.y, truth.origin.y, 1e-4);
  EXPECT_NEAR(found->unit, truth.unit, 1e-4);
  EXPECT_NEAR(found->angle, truth.angle, 1e-4);
}

TEST(Similarity, IsNotDrawnAsideByAThirdOfThePoints) {
  const Placement truth{{0.05F, 0.02F}, 0.95F, -0.1F};
  std::vector<cv::Point2f> to = Moved(Grid(), truth);
  for (size_t i = 0; i < to.size(); i += 3) to[i] += cv::Point2f(0.4F, 0.3F);
  const auto found = tessera::FitSimilarity(Grid(), to, 8);
  ASSERT_TRUE(found);
  EXPECT_NEAR(found->origin.x, truth.origin.x, 0.01);
  EXPECT_NEAR(found->origin.y, truth.origin.y, 0.01);
}

TEST(Similarity, NeedsEnoughPoints) {
  const std::vector<cv::Point2f> few = {{0, 0}, {1, 0}, {0, 1}};
  EXPECT_FALSE(tessera::FitSimilarity(few, few, 4));
  EXPECT_TRUE(tessera::FitSimilarity(few, few, 3));
  const std::vector<cv::Point2f> one_place(8, cv::Point2f(1, 1));
  EXPECT_FALSE(tessera::FitSimilarity(one_place, one_place, 4));
}

}  // namespace
