#include "pixels/window_means.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace lumivex {
namespace {

constexpr int kColumns = 61;  // no whole steps
constexpr int kRows = 83;     // two strips and a rest
constexpr float kFew = 0.01f;

cv::Mat Random(int type, double most, uint64_t seed) {
  cv::Mat map(kRows, kColumns, type);
  cv::RNG random(seed);
  random.fill(map, cv::RNG::UNIFORM, 0, most);
  return map;
}

struct Maps {
  cv::Mat values[4] = {Random(CV_32F, 255, 1), Random(CV_32F, 65025, 2), Random(CV_32F, 255, 3),
                       Random(CV_32F, 255, 4)};
  cv::Mat weights = Random(CV_8U, 256, 5);
  cv::Mat means[4];

  void Measure(int radius, const RowBands &bands = RowBands(), const cv::Range &rows = {0, kRows}) {
    WindowMeans window;
    window.Measure(
        {{{&values[0], &means[0]}, {&values[1], &means[1]}, {&values[2], &means[2]}, {&values[3], &means[3]}}},
        &weights, radius, kFew, rows, bands);
  }
};

// As the header tells it, cell by cell.
double Expected(const cv::Mat &values, const cv::Mat &weights, int radius, int row, int column) {
  double sum = 0;
  double weight = 0;
  for (int y = row - radius; y <= row + radius; ++y) {
    for (int x = column - radius; x <= column + radius; ++x) {
      const int near_y = std::clamp(y, 0, kRows - 1);
      const int near_x = std::clamp(x, 0, kColumns - 1);
      sum += values.at<float>(near_y, near_x) * weights.at<uint8_t>(near_y, near_x) / 255.0;
      weight += weights.at<uint8_t>(near_y, near_x) / 255.0;
    }
  }
  const double own = kFew * (2 * radius + 1) * (2 * radius + 1);
  return (sum + own * values.at<float>(row, column)) / (weight + own);
}

TEST(WindowMeans, AreThoseOfEachWindowByWeight) {
  for (const int radius : {1, 2, 12}) {
    Maps maps;
    maps.Measure(radius);
    for (int row = 0; row < kRows; row += 3) {
      for (int column = 0; column < kColumns; ++column) {
        for (int i = 0; i < 4; ++i) {
          const double expected = Expected(maps.values[i], maps.weights, radius, row, column);
          ASSERT_NEAR(maps.means[i].at<float>(row, column), expected, 1e-4 * expected + 1e-3)
              << radius << ": " << column << ',' << row << " of " << i;
        }
      }
    }
  }
}

TEST(WindowMeans, AreTheCellsOwnWhereNothingHasWeight) {
  Maps maps;
  maps.weights.setTo(0);
  maps.Measure(3);
  EXPECT_EQ(cv::countNonZero(cv::abs(maps.means[0] - maps.values[0]) < 1e-3), kRows * kColumns);
}

TEST(WindowMeans, NeedNoWeights) {
  const cv::Mat values = Random(CV_32F, 255, 1);
  const cv::Mat all(kRows, kColumns, CV_8U, cv::Scalar(255));
  cv::Mat mean;
  WindowMeans window;
  window.Measure({{{&values, &mean}}}, nullptr, 2, kFew, {0, kRows}, RowBands());
  for (const cv::Point &at : {cv::Point(0, 0), cv::Point(30, 40), cv::Point(kColumns - 1, kRows - 1)})
    EXPECT_NEAR(mean.at<float>(at), Expected(values, all, 2, at.y, at.x), 1e-2) << at;
}

TEST(WindowMeans, OfSomeRowsLeaveTheOthers) {
  Maps maps;
  maps.means[0] = cv::Mat(kRows, kColumns, CV_32F, cv::Scalar(-1));
  maps.Measure(2, RowBands(), {10, 20});
  EXPECT_EQ(cv::countNonZero(maps.means[0] == -1), (kRows - 10) * kColumns);
  EXPECT_NEAR(maps.means[0].at<float>(10, 5), Expected(maps.values[0], maps.weights, 2, 10, 5), 1e-2);
}

TEST(WindowMeans, HaveTheSameBitsOnAnyNumberOfThreads) {
  Maps one;
  one.Measure(4);
  for (const int threads : {2, 3, 8}) {
    Maps some;
    some.Measure(4, RowBands(threads));
    for (int i = 0; i < 4; ++i) EXPECT_EQ(cv::countNonZero(some.means[i] != one.means[i]), 0) << threads;
  }
}

}  // namespace
}  // namespace lumivex
