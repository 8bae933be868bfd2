#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "fixtures/portrait/face_reader.h"
#include "fixtures/portrait/portrait.h"
#include "tessera/point_layout.h"

namespace {

using vanta_test::FaceReader;
using vanta_test::PlacePortrait;
using vanta_test::PortraitPicture;
using vanta_test::PortraitSetup;

const cv::Mat &Portrait() {
  static const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  return portrait;
}

std::vector<vanta_test::ReadFace> RunOn(FaceReader &reader, const PortraitSetup &setup) {
  PortraitPicture picture = PlacePortrait(Portrait(), setup);
  return reader.Run(picture);
}

float Distance(cv::Point2f a, cv::Point2f b) {
  return std::hypot(a.x - b.x, a.y - b.y);
}

// How much a point trembles from picture to picture, pixels.
float Tremble(const std::vector<cv::Point2f> &places) {
  float sum = 0;
  for (size_t i = 1; i < places.size(); ++i) sum += Distance(places[i], places[i - 1]);
  return sum / static_cast<float>(places.size() - 1);
}

TEST(Tracking, StillFaceInNoiseTremblesLessThanPictureByPicture) {
  FaceReader follower;
  std::vector<cv::Point2f> followed;
  std::vector<cv::Point2f> single;
  for (uint64_t seed = 1; seed <= 12; ++seed) {
    PortraitSetup setup;
    setup.noise = 15;
    setup.seed = seed;
    const auto faces = RunOn(follower, setup);
    FaceReader fresh;
    const auto alone = RunOn(fresh, setup);
    ASSERT_EQ(faces.size(), 1U);
    ASSERT_EQ(alone.size(), 1U);
    followed.push_back(faces[0].points[tessera::kMouthLeftCorner]);
    single.push_back(alone[0].points[tessera::kMouthLeftCorner]);
  }
  EXPECT_LT(Tremble(followed), 0.7F * Tremble(single));
}

TEST(Tracking, SmallMoveIsFollowedAtOnce) {
  FaceReader reader;
  PortraitSetup setup;
  for (int i = 0; i < 3; ++i) ASSERT_EQ(RunOn(reader, setup).size(), 1U);
  const float before = RunOn(reader, setup)[0].points[tessera::kNoseTip].x;
  setup.middle.x += 2;
  const float first = RunOn(reader, setup)[0].points[tessera::kNoseTip].x - before;
  for (int i = 0; i < 20; ++i) RunOn(reader, setup);
  const float last = RunOn(reader, setup)[0].points[tessera::kNoseTip].x - before;
  EXPECT_NEAR(last, 2, 0.7);
  EXPECT_NEAR(first, last, 0.3);
}

TEST(Tracking, FollowsAFaceThatMovesAndTurns) {
  FaceReader reader;
  for (int i = 0; i <= 20; ++i) {
    PortraitSetup setup;
    setup.middle = {260.0F + 6.0F * static_cast<float>(i), 220};
    setup.degrees = 1.5F * static_cast<float>(i);
    PortraitPicture picture = PlacePortrait(Portrait(), setup);
    const auto faces = reader.Run(picture);
    ASSERT_EQ(faces.size(), 1U) << i;
    for (const float error : MarkErrors(faces[0], picture)) EXPECT_LT(error, 0.2F) << i;
  }
}

TEST(Tracking, FaceThatJumpsIsFoundWhereItIsNow) {
  FaceReader reader;
  PortraitSetup setup;
  setup.size = {1280, 480};
  setup.middle = {300, 220};
  ASSERT_EQ(RunOn(reader, setup).size(), 1U);
  setup.middle = {950, 220};
  PortraitPicture picture = PlacePortrait(Portrait(), setup);
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  for (const float error : MarkErrors(faces[0], picture)) EXPECT_LT(error, 0.1F);
}

TEST(Tracking, SmallJumpIsNotSmoothedOver) {
  FaceReader reader;
  PortraitSetup setup;
  for (int i = 0; i < 3; ++i) ASSERT_EQ(RunOn(reader, setup).size(), 1U);
  setup.middle.x += 20;  // a third of the distance between the eyes
  PortraitPicture picture = PlacePortrait(Portrait(), setup);
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  for (const float error : MarkErrors(faces[0], picture)) EXPECT_LT(error, 0.1F);
}

TEST(Tracking, FaceThatLeavesIsGoneAtOnce) {
  FaceReader reader;
  ASSERT_EQ(RunOn(reader, {}).size(), 1U);
  PortraitPicture empty = PlacePortrait(Portrait(), {});
  empty.i420.setTo(128);
  EXPECT_TRUE(reader.Run(empty).empty());
}

TEST(Tracking, FaceIsHiddenOnceItsMiddleLeavesThePicture) {
  FaceReader reader;
  PortraitSetup setup;
  bool shown_before_it_leaves = true;
  for (float x = 560; x < 690; x += 5) {
    setup.middle.x = x;
    const size_t faces = RunOn(reader, setup).size();
    if (x < 600) shown_before_it_leaves &= faces == 1;
    if (x > 645) {
      EXPECT_EQ(faces, 0U) << x;
    }
  }
  EXPECT_TRUE(shown_before_it_leaves);
}

TEST(Tracking, ShortOcclusionOfAHalfLeavesThePointsOnTheFace) {
  FaceReader reader;
  PortraitSetup setup;
  for (int i = 0; i < 4; ++i) ASSERT_EQ(RunOn(reader, setup).size(), 1U);
  PortraitPicture hidden = PlacePortrait(Portrait(), setup);
  hidden.i420(cv::Rect(325, 150, 120, 220)).setTo(90);  // a hand
  for (int i = 0; i < 2; ++i) {
    const auto faces = reader.Run(hidden);
    if (faces.empty()) continue;
    EXPECT_LT(MarkErrors(faces[0], hidden)[6], 0.2F);
  }
  PortraitPicture picture = PlacePortrait(Portrait(), setup);
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  for (const float error : MarkErrors(faces[0], picture)) EXPECT_LT(error, 0.15F);
}

TEST(Tracking, SamePicturesGiveTheSamePoints) {
  FaceReader one;
  FaceReader other;
  for (int i = 0; i < 12; ++i) {
    PortraitSetup setup;
    setup.middle.x += 4 * static_cast<float>(i);
    setup.noise = 5;
    setup.seed = static_cast<uint64_t>(i) + 1;
    const auto first = RunOn(one, setup);
    const auto second = RunOn(other, setup);
    ASSERT_EQ(first.size(), 1U);
    ASSERT_EQ(second.size(), 1U);
    EXPECT_EQ(first[0].points, second[0].points) << i;
  }
}

TEST(Tracking, FaceThatComesBackIsFoundAgain) {
  FaceReader reader;
  PortraitPicture empty = PlacePortrait(Portrait(), {});
  empty.i420.setTo(128);
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(reader.Run(empty).empty());
  EXPECT_EQ(RunOn(reader, {}).size(), 1U);
}

// A search without a face tries only a few angles for each picture; within so many it has tried them all.
TEST(Tracking, TurnedFaceThatComesIsFoundWithinAFewPictures) {
  FaceReader reader;
  PortraitPicture empty = PlacePortrait(Portrait(), {});
  empty.i420.setTo(128);
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(reader.Run(empty).empty());
  PortraitSetup setup;
  setup.degrees = 36;
  size_t found = 0;
  for (int i = 0; i < 7 && found == 0; ++i) found = RunOn(reader, setup).size();
  EXPECT_EQ(found, 1U);
}

TEST(Tracking, SecondFaceThatComesIsFoundWithinASecondOrTwo) {
  FaceReader reader(2);
  PortraitSetup left;
  left.size = {1280, 480};
  left.middle = {300, 220};
  PortraitPicture one = PlacePortrait(Portrait(), left);
  ASSERT_EQ(reader.Run(one).size(), 1U);
  PortraitPicture two = PlacePortrait(Portrait(), left);
  PortraitSetup right = left;
  right.middle = {950, 240};
  AddPortrait(two, Portrait(), right);
  size_t found = 0;
  for (int i = 0; i < 25 && found < 2; ++i) found = reader.Run(two).size();
  EXPECT_EQ(found, 2U);
}

TEST(Tracking, FacesKeepTheirPlaceInTheList) {
  FaceReader reader(2);
  PortraitSetup left;
  left.size = {1280, 480};
  left.middle = {300, 220};
  PortraitSetup right = left;
  right.middle = {950, 240};
  float first_x = 0;
  for (int i = 0; i < 8; ++i) {
    left.middle.x += 9;
    right.eye_distance += 3;
    PortraitPicture picture = PlacePortrait(Portrait(), left);
    AddPortrait(picture, Portrait(), right);
    const auto faces = reader.Run(picture);
    ASSERT_EQ(faces.size(), 2U);
    const float x = faces[0].points[tessera::kNoseTip].x;
    if (i == 0) first_x = x;
    EXPECT_LT(std::abs(x - first_x), 60) << i;
    first_x = x;
  }
}

TEST(Tracking, PictureOfAnotherSizeStartsAnew) {
  FaceReader reader;
  ASSERT_EQ(RunOn(reader, {}).size(), 1U);
  PortraitSetup setup;
  setup.size = {320, 240};
  setup.middle = {160, 110};
  setup.eye_distance = 40;
  PortraitPicture picture = PlacePortrait(Portrait(), setup);
  const auto faces = reader.Run(picture);
  ASSERT_EQ(faces.size(), 1U);
  for (const float error : MarkErrors(faces[0], picture)) EXPECT_LT(error, 0.1F);
}

}  // namespace
