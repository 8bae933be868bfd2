#include "greenscreen/passes/blur_shape.h"

#include <gtest/gtest.h>

namespace {

using vanta::BlurShape;
using vanta::ComputeBlurShape;

void ExpectShape(float intensity, int levels, float offset, float weight) {
  const std::optional<BlurShape> shape = ComputeBlurShape(intensity);
  ASSERT_TRUE(shape);
  EXPECT_EQ(shape->levels, levels);
  EXPECT_NEAR(shape->offset, offset, offset * 1e-3);
  EXPECT_NEAR(shape->weight, weight, weight * 1e-3);
}

TEST(BlurShape, FollowsItsCurve) {
  ExpectShape(0.25f, 1, 3.15f, 44313.5f);
  ExpectShape(0.5f, 2, 4.675f, 673.48f);
  ExpectShape(0.75f, 3, 4.65f, 107.86f);
  ExpectShape(1.0f, 3, 8.475f, 38.60f);
}

TEST(BlurShape, BeyondFullIsFull) {
  ExpectShape(3.0f, 3, 8.475f, 38.60f);
}

TEST(BlurShape, OfNothingIsNone) {
  EXPECT_FALSE(ComputeBlurShape(0));
  EXPECT_FALSE(ComputeBlurShape(-1));
  EXPECT_FALSE(ComputeBlurShape(0.0000001f));
}

TEST(BlurShape, StopsWhereTheSmallestOfItsFactorsVanishes) {
  EXPECT_FALSE(ComputeBlurShape(0.0000019f));  // half of it is below a millionth
  EXPECT_TRUE(ComputeBlurShape(0.0000021f));
}

}  // namespace
