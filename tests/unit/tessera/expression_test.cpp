// What moves in a face that is followed: lids, lips, and the head that turns aside. The pictures are a portrait,
// changed.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "fixtures/portrait/expressions.h"
#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/portrait.h"
#include "tessera/point_layout.h"

namespace {

using vanta_test::FaceReader;
using vanta_test::Portrait;
using vanta_test::PortraitPicture;
using vanta_test::PortraitSetup;
using vanta_test::ReadFace;

// The face of the last of some such pictures; no points where it is not shown.
ReadFace After(FaceReader &reader, PortraitPicture picture, int times) {
  ReadFace face;
  for (int i = 0; i < times; ++i) {
    const auto faces = reader.Run(picture);
    face = faces.empty() ? ReadFace{} : faces[0];
  }
  return face;
}

float LidGap(const ReadFace &face) {
  const cv::Point2f upper = face.points[tessera::kLeftUpperLid.first + 3];
  const cv::Point2f lower = face.points[tessera::kLeftLowerLid.first + 2];
  return std::hypot(upper.x - lower.x, upper.y - lower.y);
}

TEST(Expression, BlinkIsToldWithinThreePictures) {
  for (const float eyes : {60.0F, 90.0F}) {
    SCOPED_TRACE(eyes);
    PortraitSetup setup;
    setup.eye_distance = eyes;
    FaceReader reader;
    const ReadFace open = After(reader, Portrait(setup), 6);
    ASSERT_FALSE(open.points.empty());
    PortraitPicture blink = Portrait(setup);
    CloseEyes(blink, 1);
    const ReadFace closed = After(reader, blink, 3);
    ASSERT_FALSE(closed.points.empty());
    for (const size_t side : {0U, 1U}) {
      EXPECT_GT(open.eyes_open[side], 0.6F);
      EXPECT_LT(closed.eyes_open[side], 0.4F);
      EXPECT_GT(closed.eyes_confidence[side], 0.3F);
    }
    EXPECT_LT(LidGap(closed), 0.6F * LidGap(open));
    const ReadFace again = After(reader, Portrait(setup), 3);
    ASSERT_FALSE(again.points.empty());
    EXPECT_GT(again.eyes_open[0], 0.6F);
  }
}

TEST(Expression, LidsOfASmallFaceAreNotTrusted) {
  PortraitSetup setup;
  setup.eye_distance = 17;
  FaceReader reader;
  const ReadFace face = After(reader, Portrait(setup), 3);
  ASSERT_FALSE(face.points.empty());
  EXPECT_LT(face.eyes_confidence[0], 0.2F);
}

TEST(Expression, OpenMouthIsToldWithinFourPictures) {
  FaceReader reader;
  const ReadFace closed = After(reader, Portrait(), 6);
  ASSERT_FALSE(closed.points.empty());
  PortraitPicture speaking = Portrait();
  constexpr float kGap = 0.22F;
  OpenMouth(speaking, kGap);
  const ReadFace open = After(reader, speaking, 4);
  ASSERT_FALSE(open.points.empty());
  EXPECT_GT(open.mouth_confidence, 0.3F);
  EXPECT_GT(open.mouth_open, closed.mouth_open + 0.3F * kGap);
  const cv::Point2f lip = open.points[tessera::kLowerLipBottom];
  EXPECT_LT(std::abs(lip.y - speaking.marks[10].y), 0.15F * speaking.eye_distance);
  const ReadFace again = After(reader, Portrait(), 4);
  ASSERT_FALSE(again.points.empty());
  EXPECT_LT(again.mouth_open, closed.mouth_open + 0.2F * kGap);
}

TEST(Expression, TurnedHeadKeepsItsPointsOnTheFaceOrHidesThem) {
  for (const float direction : {-1.0F, 1.0F}) {
    FaceReader reader;
    size_t shown = 0;
    float worst = 0;
    for (float degrees = 0; degrees <= 27; degrees += 3) {
      PortraitSetup setup;
      setup.eye_distance = 80;
      PortraitPicture picture = Portrait(setup);
      TurnHead(picture, direction * degrees);
      const auto faces = reader.Run(picture);
      if (faces.empty()) continue;
      ++shown;
      const auto errors = MarkErrors(faces[0], picture);
      for (const size_t mark : {4U, 5U, 6U, 7U, 8U}) worst = std::max(worst, errors[mark]);
    }
    EXPECT_GE(shown, 6U);  // to 15 degrees at least
    EXPECT_LT(worst, 0.2F);
  }
}

}  // namespace
