// How a stored picture stands: what must be done to it to see it upright.
#pragma once

#include <cstdint>

namespace lumivex {

// First `mirror` (left and right change places), then so many quarter turns clockwise.
struct Orientation {
  int quarter_turns = 0;  // 0 to 3
  bool mirror = false;

  bool operator==(const Orientation &) const = default;
};

// Any number of degrees, clockwise; rounded to the nearest quarter turn.
constexpr Orientation OrientationOf(int32_t degrees, bool flip) {
  const int turned = static_cast<int>((static_cast<int64_t>(degrees) % 360 + 360) % 360);
  return {(turned + 45) / 90 % 4, flip};
}

// A place on the upright picture, 0 to 1 from its left and upper edge, for one on the stored picture.
struct Place {
  float x;
  float y;
};

constexpr Place ToUpright(const Orientation &orientation, Place stored) {
  const float x = orientation.mirror ? 1.0f - stored.x : stored.x;
  switch (orientation.quarter_turns) {
    case 1:
      return {1.0f - stored.y, x};
    case 2:
      return {1.0f - x, 1.0f - stored.y};
    case 3:
      return {stored.y, 1.0f - x};
    default:
      return {x, stored.y};
  }
}

// The way back.
constexpr Place FromUpright(const Orientation &orientation, Place upright) {
  Place stored = upright;
  switch (orientation.quarter_turns) {
    case 1:
      stored = {upright.y, 1.0f - upright.x};
      break;
    case 2:
      stored = {1.0f - upright.x, 1.0f - upright.y};
      break;
    case 3:
      stored = {1.0f - upright.y, upright.x};
      break;
    default:
      break;
  }
  if (orientation.mirror) stored.x = 1.0f - stored.x;
  return stored;
}

}  // namespace lumivex
