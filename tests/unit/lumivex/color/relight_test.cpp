// Only the key light knows up from down, so the tests of rotation and mirroring use it.
#include <gtest/gtest.h>

#include <tuple>

#include "fixtures/lumivex/engine_fixture.h"

namespace lumivex_test {
namespace {

constexpr int kSide = 64;

struct Corners {
  int upper_left;
  int upper_right;
  int lower_left;
  int lower_right;

  bool operator==(const Corners &) const = default;
};

// Levels that the light adds near the corners of the stored picture.
Corners Lit(int rotation, bool flip, int width = kSide, int height = kSide) {
  const auto engine = MakeEngine(width, height);
  engine->setBeautyIntensityWithType(lumivex::kBeautyRelight, 1.0f);
  Picture picture(width, height, kGrey);
  auto frame = picture.Frame();
  frame->rotation = rotation;
  frame->flip = flip;
  frame = engine->processFrameData(frame);
  EXPECT_NE(frame, nullptr);
  EXPECT_EQ(frame->rotation, rotation) << "the frame goes back as it came";
  EXPECT_EQ(frame->flip, flip);
  const auto added = [&](int x, int y) { return picture.Luma(x, y) - kGrey.y; };
  const int right = width - 1 - width / 8;
  const int bottom = height - 1 - height / 8;
  return {added(width / 8, height / 8), added(right, height / 8), added(width / 8, bottom), added(right, bottom)};
}

TEST(Relight, ComesFromTheUpperLeft) {
  const Corners lit = Lit(0, false);
  EXPECT_GT(lit.upper_left, 30);
  EXPECT_GT(lit.upper_left, lit.upper_right + 10);
  EXPECT_GT(lit.upper_left, lit.lower_left + 10);
  EXPECT_GT(lit.upper_right, lit.lower_right);
  EXPECT_GT(lit.lower_left, lit.lower_right);
}

// A picture that must be turned clockwise to stand upright has its upper left elsewhere.
TEST(Relight, FollowsTheUprightPictureRoundAllQuarterTurns) {
  const Corners upright = Lit(0, false);
  const Corners quarter = Lit(90, false);
  EXPECT_EQ(quarter.lower_left, upright.upper_left);
  EXPECT_EQ(quarter.upper_left, upright.upper_right);
  EXPECT_EQ(quarter.lower_right, upright.lower_left);
  EXPECT_EQ(quarter.upper_right, upright.lower_right);
  const Corners half = Lit(180, false);
  EXPECT_EQ(half.lower_right, upright.upper_left);
  EXPECT_EQ(half.lower_left, upright.upper_right);
  EXPECT_EQ(half.upper_right, upright.lower_left);
  const Corners three = Lit(270, false);
  EXPECT_EQ(three.upper_right, upright.upper_left);
  EXPECT_EQ(three.lower_right, upright.upper_right);
  EXPECT_EQ(three.upper_left, upright.lower_left);
}

TEST(Relight, FollowsAMirroredPicture) {
  const Corners upright = Lit(0, false);
  const Corners mirrored = Lit(0, true);
  EXPECT_EQ(mirrored.upper_right, upright.upper_left);
  EXPECT_EQ(mirrored.upper_left, upright.upper_right);
  EXPECT_EQ(mirrored.lower_right, upright.lower_left);
}

// Mirrored first and then turned by 90 degrees: the upper left of the upright picture is the stored lower right.
TEST(Relight, MirrorsBeforeItTurns) {
  const Corners upright = Lit(0, false);
  const Corners both = Lit(90, true);
  EXPECT_EQ(both.lower_right, upright.upper_left);
  EXPECT_EQ(both.upper_right, upright.upper_right);
}

TEST(Relight, WorksOnPicturesThatAreNotSquare) {
  const Corners upright = Lit(0, false, 96, 48);
  EXPECT_GT(upright.upper_left, upright.lower_right + 10);
  const Corners quarter = Lit(90, false, 96, 48);
  EXPECT_GT(quarter.lower_left, quarter.upper_right + 10);
}

TEST(Relight, TakesAnyNumberOfDegreesAsTheNearestQuarterTurn) {
  EXPECT_EQ(Lit(450, false), Lit(90, false));
  EXPECT_EQ(Lit(-90, false), Lit(270, false));
  EXPECT_EQ(Lit(-360, false), Lit(0, false));
  EXPECT_EQ(Lit(44, false), Lit(0, false));
  EXPECT_EQ(Lit(46, false), Lit(90, false));
  EXPECT_EQ(Lit(359, false), Lit(0, false));
  EXPECT_EQ(Lit(2147483647, false), Lit(2147483647 % 360, false));
  EXPECT_EQ(Lit(-2147483647 - 1, false), Lit(-2147483648 % 360, false));
}

TEST(Relight, KeepsBlackAndWhite) {
  Picture picture(kSide, kSide, kGrey);
  picture.FillLuma([](int x, int) { return x < 32 ? 16 : 235; });
  EXPECT_TRUE(With(picture, lumivex::kBeautyRelight, 1.0f) == picture);
}

}  // namespace
}  // namespace lumivex_test
