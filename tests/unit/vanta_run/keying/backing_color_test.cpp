#include "keying/backing_color.h"

#include <gtest/gtest.h>

namespace vanta_run {
namespace {

constexpr Rgb kGreen{0.2f, 0.68f, 0.28f};
constexpr Rgb kBlue{0.1f, 0.3f, 0.7f};
constexpr Rgb kGrey{0.5f, 0.5f, 0.5f};

// `inner` in the middle, reaching down to the lower side, before `outer`.
SmallPicture Painted(const Rgb &outer, const Rgb &inner) {
  SmallPicture picture;
  picture.width = 40;
  picture.height = 20;
  for (uint32_t y = 0; y < picture.height; ++y) {
    for (uint32_t x = 0; x < picture.width; ++x) picture.pixels.push_back(x >= 6 && x < 34 && y >= 4 ? inner : outer);
  }
  return picture;
}

TEST(BackingColor, IsTheBordersNotTheMiddles) {
  EXPECT_EQ(FindBackingColor({Painted(kGreen, kBlue)}), kGreen);
  EXPECT_EQ(FindBackingColor({Painted(kBlue, kGreen)}), kBlue);
}

TEST(BackingColor, IsFoundInTheMiddleWhereTheBorderHasNone) {
  EXPECT_EQ(FindBackingColor({Painted(kGrey, kGreen)}), kGreen);
}

TEST(BackingColor, IsFoundWhereOneOfTwoFramesHasIt) {
  EXPECT_EQ(FindBackingColor({Painted(kGrey, kGrey), Painted(kGreen, kGrey)}), kGreen);
}

TEST(BackingColor, IsNotMadeOfRedOrGrey) {
  EXPECT_FALSE(FindBackingColor({Painted({0.8f, 0.1f, 0.1f}, kGrey)}).has_value());
  EXPECT_FALSE(FindBackingColor({}).has_value());
}

}  // namespace
}  // namespace vanta_run
