#include "beauty/worker/frame_orientation.h"

#include <gtest/gtest.h>

#include <limits>

namespace {

using vanta::FrameOrientation;
using vanta::OrientFrame;
using vanta::RotateType;

void ExpectOrientation(const FrameOrientation &orientation, int32_t rotation, bool flip) {
  EXPECT_EQ(orientation.rotation, rotation);
  EXPECT_EQ(orientation.flip, flip);
}

TEST(FrameOrientation, PassesRotationAndMirrorThrough) {
  ExpectOrientation(OrientFrame({true, false, 90}, false, true), 90, true);
  ExpectOrientation(OrientFrame({false, false, 450}, false, true), 450, false);
}

TEST(FrameOrientation, VerticalFlipIsAHalfTurnAndAMirror) {
  ExpectOrientation(OrientFrame({false, true, 0}, false, true), 180, true);
  ExpectOrientation(OrientFrame({true, true, 90}, false, true), 270, false);
}

TEST(FrameOrientation, HalfTurnTakesTheRemainderTowardZero) {
  ExpectOrientation(OrientFrame({false, true, 450}, false, true), 270, true);
  ExpectOrientation(OrientFrame({false, true, -90}, false, true), 90, true);
  ExpectOrientation(OrientFrame({false, true, -630}, false, true), -90, true);
  ExpectOrientation(OrientFrame({false, true, 180}, false, true), 0, true);
}

TEST(FrameOrientation, LargestAngleDoesNotOverflow) {
  const int32_t largest = std::numeric_limits<int32_t>::max();
  ExpectOrientation(OrientFrame({false, true, largest}, false, true),
                    static_cast<int32_t>((int64_t{largest} + 180) % 360), true);
}

TEST(FrameOrientation, FrameFlipAndSceneFlipCancelEachOther) {
  ExpectOrientation(OrientFrame({false, true, 0}, true, true), 0, false);
  ExpectOrientation(OrientFrame({false, false, 0}, true, true), 180, true);
}

TEST(FrameOrientation, FrameFlipCountsOnlyWhenAsked) {
  ExpectOrientation(OrientFrame({false, false, 0}, true, false), 0, false);
  ExpectOrientation(OrientFrame({false, true, 0}, true, false), 180, true);
}

TEST(FrameOrientation, RotateTypeKnowsExactQuartersOnly) {
  EXPECT_EQ(RotateType(0), 0u);
  EXPECT_EQ(RotateType(90), 1u);
  EXPECT_EQ(RotateType(180), 2u);
  EXPECT_EQ(RotateType(270), 3u);
  EXPECT_EQ(RotateType(450), 0u);
  EXPECT_EQ(RotateType(-90), 0u);
  EXPECT_EQ(RotateType(89), 0u);
}

}  // namespace
