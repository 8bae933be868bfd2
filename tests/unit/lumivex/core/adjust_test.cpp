#include <gtest/gtest.h>

#include "fixtures/lumivex/engine_fixture.h"

namespace lumivex_test {
namespace {

Picture Ramp(int from = 16, int to = 235) {
  Picture picture(220, 16, kGrey);
  picture.FillLuma([=](int x, int) { return from + (to - from) * x / 219; });
  return picture;
}

TEST(Brightness, MovesMiddleTonesAndKeepsBlackAndWhite) {
  const Picture before = Ramp();
  const Picture lighter = With(before, lumivex::kBeautyBrightness, 0.6f);
  const Picture darker = With(before, lumivex::kBeautyBrightness, -0.6f);
  EXPECT_GT(lighter.Luma(110, 8), before.Luma(110, 8) + 15);
  EXPECT_LT(darker.Luma(110, 8), before.Luma(110, 8) - 15);
  for (const Picture *after : {&lighter, &darker}) {
    EXPECT_EQ(after->Luma(0, 8), 16);
    EXPECT_EQ(after->Luma(219, 8), 235);
  }
}

TEST(Contrast, SpreadsLevelsAroundMiddleGrey) {
  const Picture before = Ramp();
  const Picture more = With(before, lumivex::kBeautyContrast, 0.8f);
  const Picture less = With(before, lumivex::kBeautyContrast, -0.8f);
  EXPECT_LT(more.Luma(55, 8), before.Luma(55, 8) - 5);
  EXPECT_GT(more.Luma(165, 8), before.Luma(165, 8) + 5);
  EXPECT_GT(less.Luma(55, 8), before.Luma(55, 8) + 5);
  EXPECT_LT(less.Luma(165, 8), before.Luma(165, 8) - 5);
  EXPECT_NEAR(more.Luma(110, 8), before.Luma(110, 8), 2);
  EXPECT_EQ(more.Luma(0, 8), 16);
  EXPECT_EQ(more.Luma(219, 8), 235);
}

TEST(ToneCurve, NeverFalls) {
  const Picture before = Ramp(0, 255);
  for (const auto type : {lumivex::kBeautyBrightness, lumivex::kBeautyContrast}) {
    for (const float intensity : {-1.0f, -0.5f, 0.5f, 1.0f}) {
      for (const int color_code : {2, 3}) {
        const Picture after = With(before, type, intensity, color_code);
        for (int x = 1; x < 220; ++x) {
          ASSERT_GE(after.Luma(x, 8), after.Luma(x - 1, 8)) << type << ' ' << intensity << " at " << x;
        }
      }
    }
  }
}

TEST(ToneCurve, KnowsTheRangeOfTheColourCode) {
  Picture before(32, 8, kGrey);
  before.FillLuma([](int x, int) { return x < 16 ? 0 : 255; });
  const Picture full = With(before, lumivex::kBeautyBrightness, 0.5f, 3);
  EXPECT_EQ(full.Luma(0, 0), 0);
  EXPECT_EQ(full.Luma(31, 0), 255);
  before.FillLuma([](int, int) { return 16; });
  EXPECT_EQ(With(before, lumivex::kBeautyBrightness, 0.5f, 2).Luma(0, 0), 16) << "black at partial range";
  EXPECT_GT(With(before, lumivex::kBeautyBrightness, 0.5f, 3).Luma(0, 0), 20) << "no black at full range";
}

TEST(ToneCurve, ChangesNoChroma) {
  const Picture before(32, 32, kBlue);
  const Picture after = With(before, lumivex::kBeautyContrast, 1.0f);
  EXPECT_EQ(after.MeanU(), kBlue.u);
  EXPECT_EQ(after.MeanV(), kBlue.v);
}

TEST(Sharpening, SteepensEdges) {
  Picture before(64, 64, kGrey);
  before.FillLuma([](int x, int) { return x < 31 ? 100 : x > 32 ? 140 : 120; });
  const Picture after = With(before, lumivex::kBeautySharpen, 1.0f);
  EXPECT_LT(after.Luma(30, 32), 100);
  EXPECT_GT(after.Luma(33, 32), 140);
  EXPECT_EQ(after.Luma(10, 32), 100);
  EXPECT_EQ(after.Luma(50, 32), 140);
}

TEST(Sharpening, GrowsWithItsIntensity) {
  Picture before(64, 64, kGrey);
  before.FillLuma([](int x, int y) { return 120 + Noise(x, y, 20); });
  double last = before.LumaDeviation(0, 0, 64, 64);
  for (const float intensity : {0.3f, 0.6f, 1.0f}) {
    const double deviation = With(before, lumivex::kBeautySharpen, intensity).LumaDeviation(0, 0, 64, 64);
    EXPECT_GT(deviation, last);
    last = deviation;
  }
}

TEST(Sharpening, LeavesNoiseOfOneLevelAlone) {
  Picture before(64, 64, kGrey);
  before.FillLuma([](int x, int y) { return 120 + (Noise(x, y, 20) == 7 ? 1 : 0); });
  EXPECT_TRUE(With(before, lumivex::kBeautySharpen, 1.0f) == before);
}

TEST(Sharpening, LimitsOvershoot) {
  Picture before(64, 64, kGrey);
  before.FillLuma([](int x, int) { return x < 32 ? 60 : 180; });
  const Picture after = With(before, lumivex::kBeautySharpen, 1.0f);
  for (int y = 0; y < 64; ++y) {
    for (int x = 0; x < 64; ++x) ASSERT_LE(std::abs(after.Luma(x, y) - before.Luma(x, y)), 24);
  }
}

}  // namespace
}  // namespace lumivex_test
