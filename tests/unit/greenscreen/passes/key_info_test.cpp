#include "greenscreen/passes/key_info.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using vanta::AngleInfo;
using vanta::ComputeAngleInfo;
using vanta::ComputeKeyInfo;
using vanta::KeyInfo;

KeyInfo Key(float r, float g, float b) {
  const float color[3] = {r, g, b};
  return ComputeKeyInfo(color);
}

void ExpectKey(const KeyInfo &key, float x, float y, float z, float w) {
  EXPECT_NEAR(key.x, x, 5e-5);
  EXPECT_NEAR(key.y, y, 5e-5);
  EXPECT_NEAR(key.z, z, 5e-5);
  EXPECT_EQ(key.w, w);
}

TEST(KeyInfo, OfPureGreen) {
  ExpectKey(Key(0, 1, 0), -0.7842f, -0.6205f, 1.0678f, 1);
}

TEST(KeyInfo, OfPureBlue) {
  ExpectKey(Key(0, 0, 1), -0.1605f, 0.9870f, 1.0131f, 0);
}

TEST(KeyInfo, OfPureRed) {
  ExpectKey(Key(1, 0, 0), 0.9475f, -0.3198f, 1.0554f, 0);
}

TEST(KeyInfo, OfAGreyHasTheRestingDirection) {
  for (const float grey : {0.0f, 0.5f, 1.0f}) {
    const KeyInfo key = Key(grey, grey, grey);
    EXPECT_EQ(key.x, 0.0f) << grey;
    EXPECT_EQ(key.y, 1.0f) << grey;
    EXPECT_NEAR(key.z, 0.0f, 1e-5) << grey;
  }
}

TEST(KeyInfo, OfBlackLiesInTheGreenSector) {
  EXPECT_EQ(Key(0, 0, 0).w, 1.0f);
}

TEST(KeyInfo, StudioBackingsLieInTheGreenSector) {
  EXPECT_EQ(Key(0.1f, 0.6f, 0.2f).w, 1.0f);
  EXPECT_EQ(Key(0.3f, 0.8f, 0.3f).w, 1.0f);
}

TEST(KeyInfo, TheGreenSectorReachesFromYellowToCyan) {
  EXPECT_EQ(Key(1, 1, 0).w, 1.0f);
  EXPECT_EQ(Key(0, 1, 1).w, 1.0f);
}

TEST(KeyInfo, OrangeAndAzureLieOutsideTheGreenSector) {
  EXPECT_EQ(Key(1, 0.6f, 0).w, 0.0f);
  EXPECT_EQ(Key(0, 0.5f, 1).w, 0.0f);
}

// Floats whose blue difference is nought to the last bit: there is no slope to compare.
TEST(KeyInfo, OnTheRedDifferenceAxisTheSignAloneDecides) {
  const KeyInfo rose = Key(1, 0.25f, 0.503103852f);
  EXPECT_EQ(rose.y, 0.0f);
  EXPECT_EQ(rose.w, 0.0f);
  const KeyInfo green = Key(0, 0.5f, 0.331264108f);
  EXPECT_EQ(green.y, 0.0f);
  EXPECT_EQ(green.w, 1.0f);
}

// Both differences lie below a millionth, and their slope outside the sector.
TEST(KeyInfo, WithinAMillionthOfThatAxisTheSlopeDoesNotCount) {
  constexpr float kStep = 5.96046448e-8f;  // between floats just below a half
  const KeyInfo key = Key(0.5f - 11 * kStep, 0.5f, 0.5f + 9 * kStep);
  EXPECT_LT(key.z, 2e-6f);
  EXPECT_EQ(key.w, 1.0f);
}

TEST(AngleInfo, OfTheDefaultSimilarity) {
  const AngleInfo angle = ComputeAngleInfo(0.667f);
  EXPECT_NEAR(angle.x, 1.7341f, 1e-3);
  EXPECT_NEAR(angle.y, 0.3642f, 1e-4);
}

TEST(AngleInfo, OfNoSimilarityIsZero) {
  EXPECT_EQ(ComputeAngleInfo(0).x, 0.0f);
  EXPECT_EQ(ComputeAngleInfo(0).y, 0.0f);
}

TEST(AngleInfo, OfFullSimilarityIsLargeAndNegative) {
  const AngleInfo angle = ComputeAngleInfo(1);
  EXPECT_NEAR(angle.x, -22877332.0f, 4.0f);
  EXPECT_NEAR(angle.y, 0.5774f, 1e-4);
}

TEST(AngleInfo, WithinAMillionthOfFullCountsAsFull) {
  EXPECT_LT(ComputeAngleInfo(0.9999995f).x, 0.0f);
  EXPECT_GT(ComputeAngleInfo(0.99999f).x, 0.0f);
}

// Close to a right angle the tangent magnifies the last bit of its argument: in doubles it would be 127151.
TEST(AngleInfo, IsComputedInFloats) {
  EXPECT_NEAR(ComputeAngleInfo(0.999995f).x, 127810.2f, 100);
}

TEST(AngleInfo, ClampsTheSimilarity) {
  EXPECT_EQ(ComputeAngleInfo(7).x, ComputeAngleInfo(1).x);
  EXPECT_EQ(ComputeAngleInfo(-7).x, 0.0f);
}

}  // namespace
