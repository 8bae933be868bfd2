#include "skin/skin_colour.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>

#include "fixtures/portrait/monk_tones.h"

namespace lumivex {
namespace {

constexpr auto &kTones = vanta_test::kMonkTones;

ShadeFreeColour Colour(const std::array<int, 3> &rgb, float light = 1.0f, const YuvSpace &space = SpaceOf(0)) {
  const auto part = [&](int i) { return light * static_cast<float>(rgb[static_cast<size_t>(i)]) / 255.0f; };
  const auto codes = FromRgb(space, {part(0), part(1), part(2)});
  return ShadeFree(space).Of(codes[0], codes[1], codes[2]);
}

// Skin of that tone with the small differences that real skin has.
std::vector<ShadeFreeColour> Samples(const std::array<int, 3> &rgb, int count = 100) {
  std::vector<ShadeFreeColour> samples;
  for (int i = 0; i < count; ++i) {
    const float light = 0.9f + 0.002f * static_cast<float>(i % 100);
    ShadeFreeColour colour = Colour(rgb, light);
    colour.blue += 0.004f * static_cast<float>(i % 3 - 1);
    colour.red += 0.004f * static_cast<float>(i % 5 - 2);
    samples.push_back(colour);
  }
  return samples;
}

TEST(ShadeFree, StaysWhereItIsWhenTheLightFades) {
  const ShadeFreeColour lit = Colour({180, 130, 105});
  const ShadeFreeColour dim = Colour({180, 130, 105}, 0.4f);
  EXPECT_NEAR(lit.blue, dim.blue, 1e-4);
  EXPECT_NEAR(lit.red, dim.red, 1e-4);
  EXPECT_NEAR(dim.luma, 0.4f * lit.luma, 1e-4);
}

TEST(ShadeFree, IsTheSameUnderEveryColourCode) {
  const ShadeFreeColour expected = Colour({180, 130, 105});
  for (const int code : {0, 1, 2, 3, 5}) {
    const ShadeFreeColour colour = Colour({180, 130, 105}, 1.0f, SpaceOf(code));
    EXPECT_NEAR(colour.luma, expected.luma, 1e-4) << code;
    EXPECT_NEAR(colour.blue, expected.blue, 1e-4) << code;
    EXPECT_NEAR(colour.red, expected.red, 1e-4) << code;
  }
}

TEST(ShadeFree, OfBlackIsFinite) {
  const ShadeFreeColour colour = ShadeFree(SpaceOf(0)).Of(0.0f, 0.0f, 255.0f);
  EXPECT_TRUE(std::isfinite(colour.blue));
  EXPECT_TRUE(std::isfinite(colour.red));
}

TEST(SkinBand, HoldsTheTenTonesOfTheMonkScale) {
  for (size_t i = 0; i < kTones.size(); ++i) EXPECT_GT(SkinBand(Colour(kTones[i])), 0.6f) << "tone " << i + 1;
}

TEST(SkinBand, HoldsTheMiddleTonesInDimLight) {
  for (size_t i = 3; i < 8; ++i) EXPECT_GT(SkinBand(Colour(kTones[i], 0.6f)), 0.6f) << "tone " << i + 1;
}

TEST(SkinBand, LeavesGreyWallsBlueGreenAndBlackAlone) {
  for (const auto &rgb : {std::array<int, 3>{128, 128, 128},
                          {200, 198, 195},
                          {120, 118, 112},
                          {40, 60, 160},
                          {40, 160, 60},
                          {255, 255, 255},
                          {8, 7, 6},
                          {250, 90, 20}}) {
    EXPECT_LT(SkinBand(Colour(rgb)), 0.05f) << rgb[0] << ' ' << rgb[1] << ' ' << rgb[2];
  }
}

TEST(SkinModel, KnowsItsOwnSkinInEveryTone) {
  for (size_t i = 0; i < kTones.size(); ++i) {
    auto samples = Samples(kTones[i]);
    const auto model = SkinModel::Learn(samples);
    ASSERT_TRUE(model) << "tone " << i + 1;
    EXPECT_GT(model->Weight(Colour(kTones[i]), 1.0f), 0.95f) << "tone " << i + 1;
    EXPECT_GT(model->Weight(Colour(kTones[i], 0.8f), 1.0f), 0.8f) << "in shade, tone " << i + 1;
  }
}

TEST(SkinModel, TellsAFaceFromWoodSandAndCardboard) {
  auto samples = Samples(kTones[6]);
  const auto model = SkinModel::Learn(samples);
  ASSERT_TRUE(model);
  for (const auto &rgb : {std::array<int, 3>{150, 111, 51}, {194, 178, 128}, {176, 141, 96}, {200, 190, 180}}) {
    EXPECT_LT(model->Weight(Colour(rgb), 1.0f), 0.1f) << rgb[0] << ' ' << rgb[1] << ' ' << rgb[2];
  }
}

TEST(SkinModel, TakesMoreForSkinWhereSkinIsExpected) {
  auto samples = Samples(kTones[4]);
  const auto model = SkinModel::Learn(samples);
  ASSERT_TRUE(model);
  const ShadeFreeColour blush = Colour({225, 175, 142});
  EXPECT_GT(model->Weight(blush, 4.0f), model->Weight(blush, 1.0f) + 0.2f);
}

TEST(SkinModel, TakesTheRedOfASpotOnDarkSkinForSkinInAFace) {
  std::vector<ShadeFreeColour> samples = Samples(kTones[8]);
  const auto model = SkinModel::Learn(samples);
  ASSERT_TRUE(model);
  EXPECT_GT(model->Weight(Colour({74, 43, 37}), 4.0f), 0.9f);
  EXPECT_LT(model->Weight(Colour({74, 43, 37}), 1.0f), 0.1f);
}

TEST(SkinModel, LeavesHairBeforeAFaceOutAndTakesSpots) {
  for (const size_t tone : {size_t{4}, size_t{8}}) {
    std::vector<ShadeFreeColour> samples = Samples(kTones[tone]);
    const auto model = SkinModel::Learn(samples);
    ASSERT_TRUE(model);
    EXPECT_GT(model->Weight(Colour(kTones[tone], 0.6f), 4.0f), 0.9f) << tone;
    EXPECT_LT(model->Weight(Colour(kTones[tone], 0.15f), 4.0f), 0.1f) << tone;
  }
  std::vector<ShadeFreeColour> dark = Samples(kTones[8]);
  EXPECT_LT(SkinModel::Learn(dark)->Weight(Colour(kTones[8], 3.0f), 4.0f), 0.1f);
}

TEST(SkinModel, BearsMoreShadeOnAFaceInHardLight) {
  std::vector<ShadeFreeColour> even = Samples(kTones[5]);
  std::vector<ShadeFreeColour> hard;
  for (int i = 0; i < 100; ++i) hard.push_back(Colour(kTones[5], 0.4f + 0.012f * static_cast<float>(i)));
  const auto usual = SkinModel::Learn(even);
  const auto contrasty = SkinModel::Learn(hard);
  ASSERT_TRUE(usual && contrasty);
  EXPECT_EQ(usual->Contrast(), 1.0f);
  EXPECT_GT(contrasty->Contrast(), 1.5f);
  EXPECT_LT(usual->Weight(Colour(kTones[5], 0.2f), 4.0f), 0.3f);
  EXPECT_GT(contrasty->Weight(Colour(kTones[5], 0.2f), 4.0f), 0.7f);
}

TEST(SkinModel, IsNotLedAstrayBySpotsAndStrayHair) {
  auto samples = Samples(kTones[5], 80);
  for (int i = 0; i < 12; ++i) samples.push_back(Colour({150, 60, 40}));
  for (int i = 0; i < 12; ++i) samples.push_back(Colour({40, 28, 20}));
  auto clean = Samples(kTones[5], 80);
  const auto model = SkinModel::Learn(samples);
  const auto expected = SkinModel::Learn(clean);
  ASSERT_TRUE(model && expected);
  EXPECT_NEAR(model->Middle().blue, expected->Middle().blue, 0.01f);
  EXPECT_NEAR(model->Middle().red, expected->Middle().red, 0.01f);
  EXPECT_LT(model->Weight(Colour({150, 60, 40}), 1.0f), 0.1f);
  ShadeFreeColour beside = expected->Middle();
  beside.red += 0.035f;
  EXPECT_NEAR(model->Weight(beside, 1.0f), expected->Weight(beside, 1.0f), 0.1f) << "the spots widen it";
}

TEST(SkinModel, IsNotLearnedFromTooFewSamplesNorFromWhatNoSkinIs) {
  auto few = Samples(kTones[4], 10);
  EXPECT_FALSE(SkinModel::Learn(few));
  auto blue = Samples({60, 90, 170});
  EXPECT_FALSE(SkinModel::Learn(blue)) << "a painted face";
}

TEST(SkinModel, IsLearnedFromAFaceInDimAndInColdLight) {
  for (size_t i = 0; i < kTones.size(); ++i) {
    std::vector<ShadeFreeColour> dim;
    std::vector<ShadeFreeColour> cold;
    for (int sample = 0; sample < 60; ++sample) {
      const float light = 0.9f + 0.003f * static_cast<float>(sample);
      const auto [red, green, blue] = kTones[i];
      dim.push_back(Colour(kTones[i], 0.5f * light));
      cold.push_back(Colour({red * 84 / 100, green * 95 / 100, blue}, light));
    }
    EXPECT_TRUE(SkinModel::Learn(dim)) << "tone " << i + 1;
    EXPECT_TRUE(SkinModel::Learn(cold)) << "tone " << i + 1;
  }
}

TEST(SkinModel, IsLearnedFromAFaceInTheLightOfLampsAndScreens) {
  const std::array<std::array<int, 3>, 5> lights = {
      {{80, 88, 74}, {85, 100, 80}, {100, 80, 55}, {100, 88, 98}, {75, 85, 100}}};
  for (const auto &[red, green, blue] : lights) {
    for (size_t i = 0; i < kTones.size(); ++i) {
      const auto &tone = kTones[i];
      auto samples = Samples({tone[0] * red / 100, tone[1] * green / 100, tone[2] * blue / 100});
      EXPECT_TRUE(SkinModel::Learn(samples)) << "tone " << i + 1 << " in " << red << " " << green << " " << blue;
    }
  }
}

TEST(SkinModel, IsNotLearnedFromPaint) {
  for (const std::array<int, 3> &paint :
       {std::array{60, 140, 60}, std::array{150, 190, 60}, std::array{190, 40, 160}, std::array{40, 150, 150}}) {
    auto samples = Samples(paint);
    EXPECT_FALSE(SkinModel::Learn(samples)) << paint[0] << " " << paint[1] << " " << paint[2];
  }
}

TEST(SkinModel, FollowsTheLightPartOfTheWay) {
  auto warm = Samples({200, 140, 110});
  auto cold = Samples({180, 145, 130});
  auto model = SkinModel::Learn(warm);
  const auto seen = SkinModel::Learn(cold);
  ASSERT_TRUE(model && seen);
  const float from = model->Middle().red;
  model->Follow(*seen, 0.25f);
  EXPECT_NEAR(model->Middle().red, from + 0.25f * (seen->Middle().red - from), 1e-5);
}

}  // namespace
}  // namespace lumivex
