#include "pixels/two_thirds.h"

#include <gtest/gtest.h>

#include <opencv2/imgproc.hpp>

namespace lumivex {
namespace {

cv::Mat Random(int columns, int rows) {
  cv::Mat plane(rows, columns, CV_8U);
  cv::RNG random(5);
  random.fill(plane, cv::RNG::UNIFORM, 0, 256);
  return plane;
}

// A quarter of the way from one pixel to the next, both ways.
int Expected(const cv::Mat &plane, int row, int column) {
  const auto near = [](int i) { return i / 2 * 3 + i % 2 * 2; };
  const auto far = [](int i) { return i / 2 * 3 + 1; };
  const auto at = [&](int y, int x) { return static_cast<int>(plane.at<uint8_t>(y, x)); };
  const int sum = 9 * at(near(row), near(column)) + 3 * at(near(row), far(column)) + 3 * at(far(row), near(column)) +
                  at(far(row), far(column));
  return (sum + 8) / 16;
}

TEST(TwoThirds, LieAQuarterOfTheWayBetweenTheNearestPixels) {
  for (const cv::Size size : {cv::Size(960, 540), cv::Size(99, 6), cv::Size(3, 3), cv::Size(50, 7)}) {
    const cv::Mat plane = Random(size.width, size.height);
    cv::Mat small;
    TwoThirds(plane, small);
    ASSERT_EQ(small.size(), cv::Size(size.width / 3 * 2, size.height / 3 * 2));
    for (int y = 0; y < small.rows; ++y) {
      for (int x = 0; x < small.cols; ++x) ASSERT_EQ(small.at<uint8_t>(y, x), Expected(plane, y, x)) << x << ' ' << y;
    }
  }
}

TEST(TwoThirds, AreThoseOfAResizeWithinItsRounding) {
  const cv::Mat plane = Random(96, 54);
  cv::Mat small;
  TwoThirds(plane, small);
  cv::Mat resized;
  cv::resize(plane, resized, cv::Size(64, 36), 0, 0, cv::INTER_LINEAR);
  EXPECT_LE(cv::norm(small, resized, cv::NORM_INF), 1);
}

TEST(TwoThirds, TakeAPartOfAWiderPlane) {
  const cv::Mat wide = Random(100, 40);
  const cv::Mat part = wide(cv::Rect(5, 4, 57, 30));
  cv::Mat of_part;
  cv::Mat of_copy;
  TwoThirds(part, of_part);
  TwoThirds(part.clone(), of_copy);
  EXPECT_EQ(cv::norm(of_part, of_copy, cv::NORM_INF), 0);
}

TEST(TwoThirds, OfFewerThanThreeRowsOrColumnsAreNone) {
  cv::Mat small;
  TwoThirds(Random(2, 9), small);
  EXPECT_TRUE(small.empty());
  TwoThirds(Random(9, 2), small);
  EXPECT_TRUE(small.empty());
}

}  // namespace
}  // namespace lumivex
