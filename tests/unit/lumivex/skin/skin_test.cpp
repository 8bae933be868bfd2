#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <utility>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/portrait/monk_tones.h"

namespace lumivex_test {
namespace {

constexpr int kSide = 128;

Picture Textured(Codes codes, int amplitude) {
  Picture picture(kSide, kSide, codes);
  picture.FillLuma([=](int x, int y) { return codes.y + Noise(x, y, amplitude); });
  return picture;
}

// A soft dark spot, as a blemish is: some 10 pixels wide and 12 levels deep.
int Blemish(int x, int y) {
  const double distance = std::hypot(x - 64, y - 64);
  return distance < 10 ? static_cast<int>(std::lround(-6.0 * (1.0 + std::cos(3.14159 * distance / 10.0)))) : 0;
}

// What is left of the texture between single pixels, as a part of what was there.
double TextureLeft(const Picture &after, const Picture &before) {
  const auto energy = [](const Picture &picture) {
    double sum = 0.0;
    for (int y = 20; y < kSide - 20; ++y) {
      for (int x = 20; x < kSide - 20; ++x) {
        const int difference = 2 * picture.Luma(x, y) - picture.Luma(x - 1, y) - picture.Luma(x + 1, y);
        sum += difference * difference;
      }
    }
    return std::sqrt(sum);
  };
  return energy(after) / energy(before);
}

TEST(Smoothing, TakesTextureOffSkin) {
  const Picture before = Textured(kSkin, 5);
  const Picture after = With(before, lumivex::kBeautySmooth, 1.0f);
  EXPECT_LT(after.LumaDeviation(20, 20, 108, 108), 0.35 * before.LumaDeviation(20, 20, 108, 108));
}

TEST(Smoothing, TakesMoreTheStrongerItIs) {
  const Picture before = Textured(kSkin, 5);
  double last = before.LumaDeviation(20, 20, 108, 108);
  for (const float intensity : {0.25f, 0.5f, 0.75f, 1.0f}) {
    const double left = With(before, lumivex::kBeautySmooth, intensity).LumaDeviation(20, 20, 108, 108);
    EXPECT_LT(left, last) << intensity;
    last = left;
  }
}

TEST(Smoothing, LeavesEveryByteOutsideSkinAsItWas) {
  for (const Codes codes : {kBlue, kGrey, Codes{130, 100, 100}, Codes{60, 120, 200}}) {
    const Picture before = Textured(codes, 5);
    EXPECT_TRUE(With(before, lumivex::kBeautySmooth, 1.0f) == before) << codes.u << ' ' << codes.v;
  }
}

TEST(Smoothing, StaysOnTheSkinsSideOfABorder) {
  Picture before = Textured(kSkin, 5);
  before.FillRect(64, 0, kSide, kSide, kBlue);
  before.FillLuma([](int x, int y) { return 120 + Noise(x, y, 5); });
  const Picture after = With(before, lumivex::kBeautySmooth, 1.0f);
  // The edge of skin is feathered over a few cells of 4 pixels.
  for (int y = 0; y < kSide; ++y) {
    for (int x = 64 + 16; x < kSide; ++x) ASSERT_EQ(after.Luma(x, y), before.Luma(x, y)) << x << ',' << y;
  }
}

TEST(Smoothing, KeepsEdgesWithinSkin) {
  Picture before(kSide, kSide, kSkin);
  before.FillLuma([](int x, int) { return x < 64 ? 90 : 170; });
  const Picture after = With(before, lumivex::kBeautySmooth, 1.0f);
  for (int y = 10; y < kSide - 10; ++y) {
    EXPECT_GT(after.Luma(64, y) - after.Luma(63, y), 64) << "of 80 levels, in row " << y;
    EXPECT_NEAR(after.Luma(32, y), 90, 3);
    EXPECT_NEAR(after.Luma(96, y), 170, 3);
  }
}

TEST(Smoothing, KeepsPoresAtLowStrengthWhileBlemishesFade) {
  Picture pores = Textured(kSkin, 4);
  Picture blemish(kSide, kSide, kSkin);
  blemish.FillLuma([](int x, int y) { return kSkin.y + Blemish(x, y); });
  const float low = 0.3f;
  EXPECT_GT(TextureLeft(With(pores, lumivex::kBeautySmooth, low), pores), 0.85);
  const int depth = kSkin.y - With(blemish, lumivex::kBeautySmooth, low).Luma(64, 64);
  EXPECT_LE(depth, 11) << "of 12 levels";
  EXPECT_LT(TextureLeft(With(pores, lumivex::kBeautySmooth, 1.0f), pores), 0.35) << "full strength takes pores too";
}

// Skin of that tone in that light, and on it a shape of so many pixels to each side that takes those parts of red,
// green and blue.
Picture Shaped(const vanta_test::SkinTone &tone, double light, double half_width, double half_height, double red,
               double green, double blue) {
  Picture picture(kSide, kSide, kSkin);
  const auto rgb = [=](int x, int y) {
    const double soft = std::exp(-0.5 * (std::pow((x - 64) / half_width, 2) + std::pow((y - 64) / half_height, 2)));
    return std::array<double, 3>{light * tone[0] * (1 - red * soft), light * tone[1] * (1 - green * soft),
                                 light * tone[2] * (1 - blue * soft)};
  };
  const auto luma = [](const std::array<double, 3> &c) { return 0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]; };
  picture.FillLuma([&](int x, int y) { return static_cast<int>(std::lround(16 + luma(rgb(x, y)) * 219 / 255)); });
  picture.FillChroma([&](int x, int y) {
    const auto c = rgb(x, y);
    return std::pair<int, int>(std::lround(128 + (c[2] - luma(c)) / 1.772 * 224 / 255),
                               std::lround(128 + (c[0] - luma(c)) / 1.402 * 224 / 255));
  });
  return picture;
}

// Of the contrast in its middle, what is left.
double LumaLeft(const Picture &after, const Picture &before) {
  const auto contrast = [](const Picture &picture) { return picture.Luma(24, 64) - picture.Luma(64, 64); };
  return static_cast<double>(contrast(after)) / contrast(before);
}
double RednessLeft(const Picture &after, const Picture &before) {
  const auto contrast = [](const Picture &picture) { return picture.V(64, 64) - picture.V(24, 64); };
  return static_cast<double>(contrast(after)) / contrast(before);
}

TEST(Smoothing, TakesSmallSpotsOffSkinOfEveryTone) {
  for (size_t i = 0; i < vanta_test::kSkinTones; ++i) {
    const Picture dark = Shaped(vanta_test::kMonkTones[i], 1, 3.5, 3.5, 0.28, 0.28, 0.28);
    EXPECT_LT(LumaLeft(With(dark, lumivex::kBeautySmooth, 0.8f), dark), 0.5) << "tone " << i + 1;
    const Picture red = Shaped(vanta_test::kMonkTones[i], 1, 3.5, 3.5, 0, 0.38, 0.38);
    EXPECT_LT(RednessLeft(With(red, lumivex::kBeautySmooth, 0.8f), red), 0.5) << "tone " << i + 1;
  }
}

TEST(Smoothing, TakesSmallSpotsOffTheDarkestSkinInDimLight) {
  for (size_t i = 5; i < vanta_test::kSkinTones; ++i) {
    const Picture dark = Shaped(vanta_test::kMonkTones[i], 0.5, 3.5, 3.5, 0.28, 0.28, 0.28);
    EXPECT_LT(LumaLeft(With(dark, lumivex::kBeautySmooth, 0.8f), dark), 0.7) << "tone " << i + 1;
  }
}

TEST(Smoothing, KeepsWhatIsLongerThanWide) {
  for (size_t i = 0; i < vanta_test::kSkinTones; ++i) {
    const Picture lips = Shaped(vanta_test::kMonkTones[i], 1, 20, 5, 0.15, 0.35, 0.3);
    EXPECT_GE(LumaLeft(With(lips, lumivex::kBeautySmooth, 0.8f), lips), 0.8) << "tone " << i + 1;
  }
}

TEST(Smoothing, KeepsSmallPlacesThatAreMuchDarkerThanSpots) {
  for (size_t i = 0; i < vanta_test::kSkinTones; ++i) {
    const Picture nostril = Shaped(vanta_test::kMonkTones[i], 1, 5, 5, 0.8, 0.85, 0.85);
    EXPECT_GT(LumaLeft(With(nostril, lumivex::kBeautySmooth, 0.8f), nostril), 0.9) << "tone " << i + 1;
  }
}

TEST(Smoothing, ChangesNoChroma) {
  const Picture before = Textured(kSkin, 5);
  const Picture after = With(before, lumivex::kBeautySmooth, 1.0f);
  for (int y = 0; y < kSide; ++y) {
    for (int x = 0; x < kSide; ++x) {
      ASSERT_EQ(after.U(x, y), kSkin.u);
      ASSERT_EQ(after.V(x, y), kSkin.v);
    }
  }
}

TEST(Smoothing, LeavesFlatSkinAtItsLevel) {
  for (const int level : {70, 100, 130, 180, 235}) {
    const Picture before(kSide, kSide, {level, kSkin.u, kSkin.v});
    const Picture after = With(before, lumivex::kBeautySmooth, 1.0f);
    EXPECT_TRUE(after == before) << level;
  }
}

TEST(Smoothing, LeavesDarkHairOfSkinHueAlone) {
  const Picture before = Textured({30, kSkin.u, kSkin.v}, 5);
  EXPECT_TRUE(With(before, lumivex::kBeautySmooth, 1.0f) == before);
}

TEST(Whitening, LightensAndPalesSkin) {
  const Picture before(kSide, kSide, kSkin);
  const Picture after = With(before, lumivex::kBeautyWhiten, 0.5f);
  EXPECT_GT(after.MeanLuma(), kSkin.y + 10);
  EXPECT_GT(after.MeanU(), kSkin.u);
  EXPECT_LT(after.MeanV(), kSkin.v);
}

TEST(Whitening, LightensMoreTheStrongerItIs) {
  const Picture before(kSide, kSide, kSkin);
  double last = kSkin.y;
  for (const float intensity : {0.25f, 0.5f, 0.75f, 1.0f}) {
    const double level = With(before, lumivex::kBeautyWhiten, intensity).MeanLuma();
    EXPECT_GT(level, last) << intensity;
    last = level;
  }
}

TEST(Whitening, KeepsTheOrderOfLevels) {
  Picture before(256, 16, kSkin);
  before.FillLuma([](int x, int) { return 64 + x / 2; });
  const Picture after = With(before, lumivex::kBeautyWhiten, 1.0f);
  for (int x = 1; x < 256; ++x) EXPECT_GE(after.Luma(x, 8) + 1, after.Luma(x - 1, 8)) << x;
}

TEST(Whitening, LeavesOtherColoursAlone) {
  const Picture before(kSide, kSide, kBlue);
  EXPECT_TRUE(With(before, lumivex::kBeautyWhiten, 1.0f) == before);
}

TEST(Ruddiness, ReddensSkinAndNothingElse) {
  const Picture skin(kSide, kSide, kSkin);
  const Picture after = With(skin, lumivex::kBeautyRuddy, 1.0f);
  EXPECT_GT(after.MeanV(), kSkin.v + 6);
  EXPECT_LE(after.MeanU(), kSkin.u);
  EXPECT_EQ(after.MeanLuma(), skin.MeanLuma());
  const Picture grey(kSide, kSide, kGrey);
  EXPECT_TRUE(With(grey, lumivex::kBeautyRuddy, 1.0f) == grey);
}

TEST(Skin, OfManyShadesIsFound) {
  // From pale to dark, as BT.601 partial codes.
  for (const Codes codes : {Codes{200, 118, 140}, {170, 112, 148}, {140, 108, 152}, {105, 112, 148}, {80, 115, 145}}) {
    const Picture before(kSide, kSide, codes);
    EXPECT_GT(With(before, lumivex::kBeautyWhiten, 1.0f).MeanLuma(), codes.y + 8) << codes.y;
  }
}

TEST(Skin, IsTheSameColourUnderEveryColourCode) {
  // One skin colour, coded five times.
  const double red = 0.80;
  const double green = 0.58;
  const double blue = 0.48;
  struct Space {
    int code;
    double kr;
    double kb;
    bool full;
  };
  for (const Space &space : {Space{0, 0.299, 0.114, false},
                             {1, 0.299, 0.114, true},
                             {2, 0.2126, 0.0722, false},
                             {3, 0.2126, 0.0722, true},
                             {5, 0.2627, 0.0593, false}}) {
    const double luma = space.kr * red + (1 - space.kr - space.kb) * green + space.kb * blue;
    const double chroma = space.full ? 255 : 224;
    const Codes codes{static_cast<int>(std::lround(space.full ? luma * 255 : 16 + luma * 219)),
                      static_cast<int>(std::lround(128 + (blue - luma) / (2 * (1 - space.kb)) * chroma)),
                      static_cast<int>(std::lround(128 + (red - luma) / (2 * (1 - space.kr)) * chroma))};
    const Picture before(kSide, kSide, codes);
    const double lift = With(before, lumivex::kBeautyWhiten, 1.0f, space.code).MeanLuma() - codes.y;
    EXPECT_NEAR(lift / (space.full ? 255 : 219), 0.155, 0.03) << "colour code " << space.code;
  }
}

}  // namespace
}  // namespace lumivex_test
