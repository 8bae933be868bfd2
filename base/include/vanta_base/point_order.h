// From the runner's list of points to the one that is published: order and orientation.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace vanta {

struct PointXY {
  float x = 0;  // pixels
  float y = 0;  // pixels
  bool operator==(const PointXY &) const = default;
};

inline constexpr size_t kReorderedPoints = 101;

// Puts the first 101 points into the published order and back: the table is its own inverse. A list of fewer stays as
// it is, and so do the points behind. Threads: any.
void ReorderPoints(std::vector<PointXY> &points);

// The point cut to whole pixels and turned by `rotation` degrees (90, 180, 270; others do not turn) in a picture of
// `width` by `height` pixels. What no 32-bit number holds counts as the smallest one, as processors have it.
PointXY TurnPoint(PointXY point, uint32_t width, uint32_t height, int32_t rotation);

}  // namespace vanta
