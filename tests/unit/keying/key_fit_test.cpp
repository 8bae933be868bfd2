#include "vanta_keying/key_fit.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <nlohmann/json.hpp>
#include <random>

namespace vanta_keying {
namespace {

using testing::HasSubstr;

struct Take {
  uint32_t width = 320;
  uint32_t height = 180;
  Rgb backing{51, 173, 71};                                                          // levels of 255
  std::function<double(double, double)> light = [](double, double) { return 1.0; };  // at x, y, 0 to 1
  double noise = 0;                                                                  // levels, on each channel
  double spilled = 0;   // part of the front that the backing's light falls on
  double softness = 0;  // pixels over which the front's left and right edges mix with the backing
  bool front = true;
  uint32_t seed = 7;
};

// A grey front in the middle half of the picture, before the backing.
std::vector<uint8_t> Shoot(const Take &take) {
  std::mt19937 random(take.seed);
  std::normal_distribution<double> gauss(0, 1);
  std::vector<uint8_t> rgba;
  for (uint32_t y = 0; y < take.height; ++y) {
    for (uint32_t x = 0; x < take.width; ++x) {
      const double u = (x + 0.5) / take.width, v = (y + 0.5) / take.height;
      const bool front = take.front && u > 0.25 && u < 0.75 && v > 0.3;
      const bool spilled = front && (u - 0.25) / 0.5 < take.spilled;
      for (size_t channel = 0; channel < 3; ++channel) {
        double level = static_cast<double>(take.backing[channel]) * take.light(u, v);
        const double inside = std::min(u - 0.25, 0.75 - u) * take.width;
        const double part = front ? std::min(1.0, take.softness > 0 ? inside / take.softness : 1.0) : 0.0;
        level += (110 + (spilled && channel == 1 ? 30 : 0) - level) * part;
        const double noisy = level + (take.noise > 0 ? take.noise * gauss(random) : 0);
        rgba.push_back(static_cast<uint8_t>(std::clamp(std::lround(noisy), 0L, 255L)));
      }
      rgba.push_back(255);
    }
  }
  return rgba;
}

KeyPicture View(const std::vector<uint8_t> &rgba, const Take &take) {
  return {rgba.data(), take.width, take.height, size_t{take.width} * 4};
}

KeyFit Fit(const Take &take) {
  const std::vector<uint8_t> rgba = Shoot(take);
  const std::optional<KeyFit> fit = FitKey({View(rgba, take)});
  EXPECT_TRUE(fit.has_value());
  return fit.value_or(KeyFit{});
}

TEST(KeyFit, FindsTheBackingsColour) {
  for (const Rgb &backing : {Rgb{51, 173, 71}, Rgb{32, 80, 176}}) {
    Take take;
    take.backing = backing;
    take.noise = 4;
    const KeyFit fit = Fit(take);
    for (size_t channel = 0; channel < 3; ++channel) EXPECT_NEAR(fit.color[channel] * 255, backing[channel], 1.5);
  }
}

TEST(KeyFit, CallsAnEvenBackingEven) {
  Take take;
  take.noise = 3;
  const KeyFit fit = Fit(take);
  EXPECT_FALSE(fit.Uneven());
  EXPECT_NEAR(fit.darkest, 1, 0.05);
  EXPECT_NEAR(fit.brightest, 1, 0.05);
}

TEST(KeyFit, MeasuresHowUnevenTheLightIs) {
  Take take;
  take.noise = 3;
  take.light = [](double u, double) { return 0.7 + 0.45 * u; };
  const KeyFit fit = Fit(take);
  EXPECT_TRUE(fit.Uneven());
  EXPECT_NEAR(fit.brightest / fit.darkest, 1.15 / 0.7, 0.08);
  EXPECT_LT(fit.darkest, 1);
  EXPECT_GT(fit.brightest, 1);
}

TEST(KeyFit, DoesNotTakeTheFrontForADarkCorner) {
  Take take;
  take.light = [](double, double) { return 1.0; };
  const KeyFit fit = Fit(take);
  EXPECT_GT(fit.darkest, 0.97);
}

TEST(KeyFit, MeasuresTheNoise) {
  for (const double noise : {0.0, 1.5, 3.0, 6.0}) {
    Take take;
    take.noise = noise;
    EXPECT_NEAR(Fit(take).noise, noise, 0.1 + 0.05 * noise) << noise;
  }
}

TEST(KeyFit, DoesNotCountRoundingAsNoise) {
  Take take;
  take.noise = 0.5;
  EXPECT_NEAR(Fit(take).noise, 0.5, 0.04);
}

TEST(KeyFit, DoesNotTakeUnevenLightForNoise) {
  Take take;
  take.light = [](double u, double v) { return 0.7 + 0.2 * u + 0.2 * v; };
  EXPECT_LT(Fit(take).noise, 0.25);
}

TEST(KeyFit, MeasuresTheSpillOnTheFrontAlone) {
  for (const double spilled : {0.0, 0.25, 1.0}) {
    Take take;
    take.noise = 2;
    take.spilled = spilled;
    EXPECT_NEAR(Fit(take).spill, spilled, 0.04) << spilled;
  }
}

TEST(KeyFit, DoesNotTakeASoftEdgeForSpill) {
  Take take;
  take.softness = 5;
  EXPECT_LT(Fit(take).spill, 0.002);
}

TEST(KeyFit, FindsNoSpillWithoutAFront) {
  Take take;
  take.front = false;
  EXPECT_EQ(Fit(take).spill, 0);
}

TEST(KeyFit, PoolsSeveralFrames) {
  Take dark, bright;
  dark.light = [](double, double) { return 0.8; };
  bright.light = [](double, double) { return 1.2; };
  const std::vector<uint8_t> one = Shoot(dark), other = Shoot(bright);
  const std::optional<KeyFit> fit = FitKey({View(one, dark), View(other, bright)});
  ASSERT_TRUE(fit.has_value());
  EXPECT_NEAR(fit->brightest / fit->darkest, 1.5, 0.05);
}

TEST(KeyFit, ReadsRowsWithGaps) {
  Take take;
  take.noise = 3;
  const std::vector<uint8_t> rgba = Shoot(take);
  const size_t stride = size_t{take.width} * 4 + 64;
  std::vector<uint8_t> padded(stride * take.height, 255);
  for (uint32_t y = 0; y < take.height; ++y)
    std::copy_n(rgba.begin() + static_cast<std::ptrdiff_t>(size_t{y} * take.width * 4), take.width * 4,
                padded.begin() + static_cast<std::ptrdiff_t>(y * stride));
  const std::optional<KeyFit> fit = FitKey({{padded.data(), take.width, take.height, stride}});
  ASSERT_TRUE(fit.has_value());
  const KeyFit without_gaps = Fit(take);
  EXPECT_EQ(fit->noise, without_gaps.noise);
  EXPECT_EQ(fit->darkest, without_gaps.darkest);
  EXPECT_EQ(fit->hue_reach, without_gaps.hue_reach);
}

TEST(KeyFit, WorksOnAPictureLargerThanItLooksAt) {
  Take take;
  take.width = 1601;
  take.height = 901;
  take.noise = 3;
  const KeyFit fit = Fit(take);
  EXPECT_NEAR(fit.noise, 3, 0.25);
  EXPECT_NEAR(fit.color[1] * 255, 173, 1.5);
}

TEST(KeyFit, FindsNoBackingInGreyOrInNothing) {
  Take take;
  take.backing = {128, 128, 128};
  const std::vector<uint8_t> rgba = Shoot(take);
  EXPECT_FALSE(FitKey({View(rgba, take)}).has_value());
  EXPECT_FALSE(FitKey({}).has_value());
  EXPECT_FALSE(FitKey({KeyPicture{}}).has_value());
}

TEST(KeyFit, AnyTinyPictureIsSafe) {
  for (uint32_t width = 1; width < 5; ++width) {
    for (uint32_t height = 1; height < 5; ++height) {
      Take take;
      take.width = width;
      take.height = height;
      take.front = false;
      EXPECT_NEAR(Fit(take).color[1] * 255, 173, 1) << width << " x " << height;
    }
  }
}

// ---- The config and the sentence ----

TEST(KeyFit, ConfigIsTheColourWhereTheDefaultsWillDo) {
  EXPECT_EQ(KeyFitConfig(Fit({})), R"({"keyColor":[0.200,0.678,0.278]})");
}

TEST(KeyFit, ConfigLeavesAnOrdinaryTakesDenoiseAlone) {
  KeyFit fit;
  fit.noise = 3;
  EXPECT_FALSE(nlohmann::json::parse(KeyFitConfig(fit)).contains("aKalmanQ"));
}

TEST(KeyFit, ConfigCalmsANoisyTake) {
  Take take;
  take.noise = 7;
  EXPECT_EQ(nlohmann::json::parse(KeyFitConfig(Fit(take))).at("aKalmanQ"), 12);
}

TEST(KeyFit, ConfigWidensTheKeyForABackingOfManyHues) {
  KeyFit fit;
  fit.hue_reach = 24;
  EXPECT_EQ(nlohmann::json::parse(KeyFitConfig(fit)).at("similarity"), 0.8);
  fit.hue_reach = 80;
  EXPECT_EQ(nlohmann::json::parse(KeyFitConfig(fit)).at("similarity"), 0.9);
  fit.hue_reach = 15;
  EXPECT_FALSE(nlohmann::json::parse(KeyFitConfig(fit)).contains("similarity"));
}

TEST(KeyFit, MeasuresHowFarTheHuesReach) {
  Take even, noisy;
  noisy.noise = 12;
  EXPECT_LT(Fit(even).hue_reach, 1);
  EXPECT_GT(Fit(noisy).hue_reach, 10);
}

TEST(KeyFit, IsDescribedInOneSentence) {
  KeyFit fit;
  fit.darkest = 0.71;
  fit.brightest = 1.08;
  fit.noise = 3.1;
  fit.spill = 0.12;
  EXPECT_EQ(DescribeKeyFit(fit), "backing uneven (0.71 to 1.08 of the key), noise σ 3.1, 12 % spill");
  fit.darkest = 0.95;
  EXPECT_THAT(DescribeKeyFit(fit), HasSubstr("backing even (0.95 to 1.08 of the key)"));
}

}  // namespace
}  // namespace vanta_keying
