#include "vanta_base/point_order.h"

#include <array>
#include <limits>

namespace vanta {
namespace {

constexpr std::array<uint8_t, kReorderedPoints> kOrder = {
    18, 17, 16, 15, 14, 13, 12, 11, 10, 9,  8,  7,  6,  5,  4,  3,  2,  1,  0,  34, 33, 32, 31, 30, 29, 38,
    37, 36, 35, 24, 23, 22, 21, 20, 19, 28, 27, 26, 25, 57, 56, 55, 54, 53, 52, 51, 62, 61, 60, 59, 58, 45,
    44, 43, 42, 41, 40, 39, 50, 49, 48, 47, 46, 74, 73, 72, 71, 70, 69, 68, 67, 66, 65, 64, 63, 81, 80, 79,
    78, 77, 76, 75, 86, 85, 84, 83, 82, 91, 90, 89, 88, 87, 94, 93, 92, 96, 95, 97, 98, 99, 100};

int64_t CutToWhole(float value) {
  constexpr float kTwoTo31 = 2147483648.0F;
  if (value >= -kTwoTo31 && value < kTwoTo31) return static_cast<int32_t>(value);
  return std::numeric_limits<int32_t>::min();
}

}  // namespace

void ReorderPoints(std::vector<PointXY> &points) {
  if (points.size() < kReorderedPoints) return;
  const std::vector<PointXY> old(points.begin(), points.begin() + kReorderedPoints);
  for (size_t i = 0; i < kReorderedPoints; ++i) points[i] = old[kOrder[i]];
}

PointXY TurnPoint(PointXY point, uint32_t width, uint32_t height, int32_t rotation) {
  const int64_t x = CutToWhole(point.x);
  const int64_t y = CutToWhole(point.y);
  const auto stored = [](int64_t new_x, int64_t new_y) {
    return PointXY{static_cast<float>(new_x), static_cast<float>(new_y)};
  };
  switch (rotation) {
    case 90:
      return stored(height - y, x);
    case 180:
      return stored(width - x, height - y);
    case 270:
      return stored(y, width - x);
    default:
      return stored(x, y);
  }
}

}  // namespace vanta
