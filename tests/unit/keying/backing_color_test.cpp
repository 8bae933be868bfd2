#include "vanta_keying/backing_color.h"

#include <gtest/gtest.h>

namespace vanta_keying {
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

// A subject of one colour before a backing of another.
std::vector<SmallPicture> Take(const uint8_t (&backing)[3], const uint8_t (&subject)[3]) {
  constexpr uint32_t kWidth = 40, kHeight = 30;
  std::vector<uint8_t> pixels;
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      const uint8_t *colour = x >= 12 && x < 28 && y >= 8 ? subject : backing;
      pixels.insert(pixels.end(), {colour[0], colour[1], colour[2], 255});
    }
  }
  return {MakeSmall({pixels.data(), kWidth, kHeight, kWidth * 4})};
}

TEST(BackingColor, IsTheGreenBehindTheSubject) {
  const auto colour = FindBackingColor(Take({51, 158, 77}, {30, 40, 220}));
  ASSERT_TRUE(colour);
  EXPECT_NEAR((*colour)[0], 51 / 255.0, 1e-6);
  EXPECT_NEAR((*colour)[1], 158 / 255.0, 1e-6);
  EXPECT_NEAR((*colour)[2], 77 / 255.0, 1e-6);
}

TEST(BackingColor, IsTheBlueBehindTheSubject) {
  const auto colour = FindBackingColor(Take({30, 60, 200}, {220, 180, 160}));
  ASSERT_TRUE(colour);
  EXPECT_NEAR((*colour)[2], 200 / 255.0, 1e-6);
}

TEST(BackingColor, IsNoneInAGreyRoom) {
  EXPECT_FALSE(FindBackingColor(Take({120, 120, 120}, {220, 180, 160})));
  EXPECT_FALSE(FindBackingColor({SmallPicture{}}));
}

}  // namespace
}  // namespace vanta_keying
