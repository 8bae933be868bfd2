#include <gtest/gtest.h>

#include "fixtures/lumivex/engine_fixture.h"

namespace lumivex_test {
namespace {

constexpr Codes kGreenScreen{120, 80, 70};  // a well lit one, BT.601 partial

Picture SkinBeforeGreen() {
  Picture picture(64, 64, kGreenScreen);
  picture.FillRect(16, 16, 48, 48, kSkin);
  return picture;
}

Picture Matted(const Picture &original, int pixel_format, bool enabled = true, int color_code = 0) {
  const auto engine = MakeEngine();
  if (enabled) engine->setEffectEnabledWithEffectType(lumivex::kEffectGreenMatting, true);
  Picture picture = original;
  auto frame = picture.Frame(color_code);
  frame->pixel_format = pixel_format;
  EXPECT_NE(engine->processFrameData(frame), nullptr);
  return picture;
}

TEST(GreenMatting, PutsADarkGreyInPlaceOfGreen) {
  const Picture after = Matted(SkinBeforeGreen(), -1);
  EXPECT_NEAR(after.Luma(4, 4), 40, 4);
  EXPECT_EQ(after.U(4, 4), 128);
  EXPECT_EQ(after.V(4, 4), 128);
}

TEST(GreenMatting, KeepsTheSubject) {
  const Picture after = Matted(SkinBeforeGreen(), -1);
  for (int y = 18; y < 46; ++y) {
    for (int x = 18; x < 46; ++x) {
      ASSERT_EQ(after.Luma(x, y), kSkin.y);
      ASSERT_EQ(after.U(x, y), kSkin.u);
      ASSERT_EQ(after.V(x, y), kSkin.v);
    }
  }
}

TEST(GreenMatting, IsOffForFramesThatForbidIt) {
  const Picture before = SkinBeforeGreen();
  EXPECT_TRUE(Matted(before, 4) == before);
  EXPECT_FALSE(Matted(before, -1) == before);
}

TEST(GreenMatting, IsOffUntilItIsSwitchedOn) {
  const Picture before = SkinBeforeGreen();
  EXPECT_TRUE(Matted(before, -1, false) == before);
}

TEST(GreenMatting, TakesGreenSpillOffTheSubject) {
  Picture before(64, 64, {130, 118, 117});  // grey with a green cast
  const Picture after = Matted(before, -1);
  EXPECT_EQ(after.Luma(32, 32), 130) << "still subject";
  EXPECT_GT(after.U(32, 32), 120);
  EXPECT_GT(after.V(32, 32), 119);
}

TEST(GreenMatting, LeavesOtherColoursAlone) {
  for (const Codes codes : {kBlue, kGrey, kSkin, Codes{100, 90, 200}, Codes{150, 60, 150}}) {
    const Picture before(16, 16, codes);
    EXPECT_TRUE(Matted(before, -1) == before) << codes.u << ' ' << codes.v;
  }
}

TEST(GreenMatting, FindsGreenUnderEveryColourCode) {
  for (const auto &[color_code, codes] : {std::pair(0, Codes{120, 70, 60}),
                                          {1, {120, 62, 50}},
                                          {2, {140, 75, 60}},
                                          {3, {140, 67, 50}},
                                          {5, {140, 75, 62}}}) {
    EXPECT_LT(Matted(Picture(16, 16, codes), -1, true, color_code).Luma(8, 8), 60) << color_code;
  }
}

TEST(GreenMatting, WorksOnOddSizes) {
  for (const auto &[width, height] : {std::pair(1, 1), {1, 5}, {5, 1}, {7, 3}}) {
    const Picture after = Matted(Picture(width, height, kGreenScreen, 3), -1);
    EXPECT_NEAR(after.Luma(width - 1, height - 1), 40, 4);
    EXPECT_TRUE(after.MarginsUntouched());
  }
}

}  // namespace
}  // namespace lumivex_test
