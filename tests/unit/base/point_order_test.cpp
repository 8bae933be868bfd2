// The order and orientation of published points.
#include "vanta_base/point_order.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

using vanta::PointXY;

constexpr float kInfinity = std::numeric_limits<float>::infinity();

// Point i stands at (i, -i).
std::vector<PointXY> Numbered(size_t count) {
  std::vector<PointXY> points(count);
  for (size_t i = 0; i < count; ++i) points[i] = {static_cast<float>(i), -static_cast<float>(i)};
  return points;
}

std::vector<PointXY> Reordered(size_t count) {
  std::vector<PointXY> points = Numbered(count);
  vanta::ReorderPoints(points);
  return points;
}

TEST(PointOrder, ListsOfUpTo100PointsStay) {
  for (const size_t count : {0u, 1u, 99u, 100u}) EXPECT_EQ(Reordered(count), Numbered(count)) << count;
}

TEST(PointOrder, PublishedPointsComeFromTheirPlaces) {
  const std::vector<PointXY> points = Reordered(101);
  EXPECT_EQ(points[0], (PointXY{18, -18}));
  EXPECT_EQ(points[9], (PointXY{9, -9}));
  EXPECT_EQ(points[18], (PointXY{0, 0}));
  EXPECT_EQ(points[19], (PointXY{34, -34}));
  EXPECT_EQ(points[95], (PointXY{96, -96}));
  EXPECT_EQ(points[100], (PointXY{100, -100}));
  EXPECT_EQ(points[97], (PointXY{97, -97}));
  EXPECT_EQ(points[99], (PointXY{99, -99}));
}

TEST(PointOrder, TwiceGivesTheOldOrderBack) {
  std::vector<PointXY> points = Reordered(101);
  EXPECT_NE(points, Numbered(101));
  vanta::ReorderPoints(points);
  EXPECT_EQ(points, Numbered(101));
}

TEST(PointOrder, PointsBehindTheHundredAndFirstKeepTheirPlace) {
  const std::vector<PointXY> points = Reordered(10000);
  EXPECT_EQ(points[0], (PointXY{18, -18}));
  const std::vector<PointXY> old = Numbered(10000);
  EXPECT_TRUE(std::equal(points.begin() + 101, points.end(), old.begin() + 101));
}

TEST(PointTurn, CornersGoWhereTheRotationSays) {
  EXPECT_EQ(vanta::TurnPoint({0, 0}, 640, 480, 90), (PointXY{480, 0}));
  EXPECT_EQ(vanta::TurnPoint({10, 20}, 640, 480, 90), (PointXY{460, 10}));
  EXPECT_EQ(vanta::TurnPoint({10, 20}, 640, 480, 180), (PointXY{630, 460}));
  EXPECT_EQ(vanta::TurnPoint({10, 20}, 640, 480, 270), (PointXY{20, 630}));
}

TEST(PointTurn, OtherAnglesOnlyCutTheFraction) {
  for (const int rotation : {0, 45, 360, -90})
    EXPECT_EQ(vanta::TurnPoint({1.9F, -2.9F}, 640, 480, rotation), (PointXY{1, -2}));
}

TEST(PointTurn, PointsOutsideThePictureStayOutside) {
  EXPECT_EQ(vanta::TurnPoint({700, 500}, 640, 480, 180), (PointXY{-60, -20}));
}

TEST(PointTurn, WhatNoNumberHoldsCountsAsTheSmallest) {
  for (const float odd : {std::nanf(""), kInfinity, -kInfinity, 3e9F, -3e9F}) {
    EXPECT_EQ(vanta::TurnPoint({odd, 0}, 640, 480, 0), (PointXY{-2147483648.0F, 0}));
    EXPECT_EQ(vanta::TurnPoint({0, odd}, 640, 480, 90), (PointXY{480.0F + 2147483648.0F, 0}));
  }
}

}  // namespace
