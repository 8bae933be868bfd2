// The green screen on whole libobs: what a host's screenshot of the keyed source shows.
#include <gtest/gtest.h>
#include <util/bmem.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "fixtures/libobs/fed_source.h"
#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"

namespace vanta_integration {
namespace {

using Pixel = std::array<int, 4>;

constexpr char kRawKey[] = R"({"denoiseEnabled":false})";

// `backing`, with a square of `front` in the upper left quarter.
Picture SquareOn(const Pixel &front, const Pixel &backing, uint32_t width = 64, uint32_t height = 48) {
  Picture picture(width, height);
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const Pixel &pixel = x < width / 2 && y < height / 2 ? front : backing;
      for (size_t channel = 0; channel < 4; ++channel) picture.At(x, y)[channel] = static_cast<uint8_t>(pixel[channel]);
    }
  }
  return picture;
}

constexpr Pixel kRed{200, 30, 0, 255};
constexpr Pixel kGreen{0, 255, 0, 255};
constexpr Pixel kBlue{0, 0, 255, 255};

Screenshot Shoot(PaintedSource &source, const Picture &picture) {
  source.Paint(picture);
  WaitForTicks(2);
  return TakeScreenshot(source.Get());
}

void ExpectNear(const Pixel &pixel, const Pixel &wanted, int tolerance) {
  for (size_t channel = 0; channel < 4; ++channel)
    EXPECT_NEAR(pixel[channel], wanted[channel], tolerance) << "channel " << channel;
}

class GreenScreenPicture : public testing::Test {
 protected:
  GreenScreenPicture() { RegisterPaintedSource(); }
  ~GreenScreenPicture() override { EXPECT_EQ(log_.CountWith("[LX_green_screen_filter]"), 0u); }

  const ObsSession session_;
  vanta_test::LogCapture log_;
};

TEST_F(GreenScreenPicture, BackingVanishesAndTheRestStays) {
  PaintedSource source;
  const GreenScreen filter(source.Get(), kRawKey);
  const Screenshot shot = Shoot(source, SquareOn(kRed, kGreen));
  ASSERT_EQ(shot.width, 64u);
  for (const auto &[x, y] : {std::pair{40u, 5u}, {5u, 40u}, {40u, 40u}, {63u, 47u}}) EXPECT_EQ(shot.At(x, y)[3], 0);
  EXPECT_EQ(shot.At(5, 5), kRed);
}

TEST_F(GreenScreenPicture, ABlueBackingVanishesForABlueKey) {
  PaintedSource source;
  const GreenScreen filter(source.Get(), R"({"keyColor":[0,0,1]})");
  const Screenshot shot = Shoot(source, SquareOn(kGreen, kBlue));
  EXPECT_EQ(shot.At(40, 40)[3], 0);
  EXPECT_EQ(shot.At(5, 5)[3], 255);
}

TEST_F(GreenScreenPicture, ANewKeyIsUsedAtOnce) {
  PaintedSource source;
  GreenScreen filter(source.Get(), kRawKey);
  Shoot(source, SquareOn(kBlue, kGreen));
  filter.Configure(R"({"keyColor":[0,0,1]})");
  const Screenshot shot = TakeScreenshot(source.Get());
  EXPECT_EQ(shot.At(5, 5)[3], 0);
  EXPECT_EQ(shot.At(40, 40)[3], 255);
}

TEST_F(GreenScreenPicture, AGreyKeyKeysNothing) {
  PaintedSource source;
  const GreenScreen filter(source.Get(), R"({"keyColor":[0.5,0.5,0.5],"denoiseEnabled":false})");
  const Screenshot shot = Shoot(source, SquareOn(kBlue, kGreen));
  EXPECT_EQ(shot.At(5, 5)[3], 255);
  EXPECT_EQ(shot.At(40, 40)[3], 255);
}

TEST_F(GreenScreenPicture, EverySimilarityLeavesAnOppositeColourAlone) {
  PaintedSource source;
  GreenScreen filter(source.Get(), kRawKey);
  source.Paint(SquareOn({255, 0, 255, 255}, kGreen));
  for (const char *similarity : {"0.1", "0.5", "0.9999", "1"}) {
    filter.Configure(std::string(R"({"similarity":)") + similarity + "}");
    const Screenshot shot = TakeScreenshot(source.Get());
    EXPECT_EQ(shot.At(5, 5)[3], 255) << similarity;
    EXPECT_EQ(shot.At(40, 40)[3], 0) << similarity;
  }
}

TEST_F(GreenScreenPicture, TheFirstKeyedFrameIsReportedToTheHost) {
  constexpr char kReport[] = R"({"green_screen_cutout_success":true,"height":48,"width":64})";
  const size_t before = CountReports(12, kReport);
  PaintedSource source;
  const GreenScreen filter(source.Get());
  Shoot(source, SquareOn(kRed, kGreen));
  TakeScreenshot(source.Get());
  EXPECT_EQ(CountReports(12, kReport), before + 1);
}

TEST_F(GreenScreenPicture, AnAsynchronousSourceIsKeyed) {
  FedSource source;
  const GreenScreen filter(source.Get());
  FedFrame frame(VIDEO_FORMAT_NV12, 64, 48);
  for (uint32_t y = 0; y < 48; ++y) std::fill_n(frame.Get()->data[0] + y * frame.Get()->linesize[0], 64, 173);
  for (uint32_t y = 0; y < 24; ++y) {
    for (uint32_t x = 0; x < 32; ++x) {
      const bool grey = x < 16 && y < 12;
      frame.Get()->data[1][y * frame.Get()->linesize[1] + x * 2] = grey ? 128 : 42;
      frame.Get()->data[1][y * frame.Get()->linesize[1] + x * 2 + 1] = grey ? 128 : 26;
    }
  }
  source.Feed(frame);
  WaitForTicks(2);  // the source has a size now, before it is drawn for the first time
  source.Show();
  source.Feed(frame);
  WaitForTicks(3);
  const Screenshot shot = TakeScreenshot(source.Get());
  ASSERT_EQ(shot.width, 64u);
  EXPECT_EQ(shot.At(50, 40)[3], 0);
  EXPECT_EQ(shot.At(5, 5)[3], 255);
}

// ---- How the source carries alpha and light ----

TEST_F(GreenScreenPicture, ATranslucentSourceKeepsItsColourStraightAndPremultiplied) {
  for (const Alpha alpha : {Alpha::kStraight, Alpha::kPremultiplied}) {
    PaintedSource source(alpha);
    const GreenScreen filter(source.Get(), kRawKey);
    const Pixel front =
        alpha == Alpha::kStraight ? Pixel{200, 40, 20, 128} : Pixel{100, 20, 10, 128};  // the same picture
    const Screenshot shot = Shoot(source, SquareOn(front, kGreen));
    ExpectNear(shot.At(5, 5), {200, 40, 20, 128}, 2);
    EXPECT_EQ(shot.At(40, 40)[3], 0);
  }
}

TEST_F(GreenScreenPicture, ASourceInLinearLightIsKeyedAsInItsOwnEncoding) {
  const Picture picture = SquareOn({180, 90, 60, 255}, {60, 180, 80, 255});
  const std::string config = R"({"keyColor":[0.235,0.706,0.314],"denoiseEnabled":false})";
  PaintedSource encoded(Alpha::kStraight, Light::kEncoded);
  const GreenScreen first(encoded.Get(), config);
  const Screenshot wanted = Shoot(encoded, picture);
  PaintedSource linear(Alpha::kStraight, Light::kLinear);
  const GreenScreen second(linear.Get(), config);
  const Screenshot shot = Shoot(linear, picture);
  ASSERT_EQ(shot.pixels.size(), wanted.pixels.size());
  for (const auto &[x, y] : {std::pair{5u, 5u}, {40u, 40u}}) ExpectNear(shot.At(x, y), wanted.At(x, y), 2);
  EXPECT_EQ(shot.At(40, 40)[3], 0);
}

// ---- Sizes ----

TEST_F(GreenScreenPicture, EverySizeIsKeyedToItsEdges) {
  PaintedSource source;
  const GreenScreen filter(source.Get(), R"({"alphaShrink":1,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":1})");
  for (const auto &[width, height] :
       {std::pair{1u, 1u}, {2u, 1u}, {1u, 7u}, {3u, 5u}, {17u, 9u}, {333u, 101u}, {1921u, 1081u}}) {
    Picture picture(width, height);
    picture.Fill(0, 255, 0);
    Screenshot shot = Shoot(source, picture);
    ASSERT_EQ(shot.width, width);
    ASSERT_EQ(shot.height, height);
    for (const auto &[x, y] : {std::pair{0u, 0u}, {width - 1, 0u}, {0u, height - 1}, {width - 1, height - 1}})
      EXPECT_EQ(shot.At(x, y)[3], 0) << width << "x" << height;
    picture.Fill(200, 30, 0);
    shot = Shoot(source, picture);
    // The memory of the key needs a frame to see that everything moved.
    WaitForTicks(2);
    shot = TakeScreenshot(source.Get());
    for (const auto &[x, y] : {std::pair{0u, 0u}, {width - 1, 0u}, {0u, height - 1}, {width - 1, height - 1}})
      EXPECT_EQ(shot.At(x, y)[3], 255) << width << "x" << height;
  }
}

TEST_F(GreenScreenPicture, AFourThousandPixelsWideSourceIsKeyedToItsEdges) {
  constexpr uint32_t kWide = 4096, kHigh = 2160;
  PaintedSource source;
  const GreenScreen filter(source.Get(), R"({"alphaShrink":1,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":1})");
  source.Paint(SquareOn(kRed, kGreen, kWide, kHigh));
  const Screenshot shot = TakeScreenshot(source.Get());
  ASSERT_EQ(shot.width, kWide);
  ASSERT_EQ(shot.height, kHigh);
  EXPECT_EQ(shot.At(0, 0)[3], 255);
  EXPECT_EQ(shot.At(kWide / 2 - 200, kHigh / 2 - 200)[3], 255);
  for (const auto &[x, y] : {std::pair{kWide - 1, 0u}, {0u, kHigh - 1}, {kWide - 1, kHigh - 1}, {kWide / 2, kHigh / 2}})
    EXPECT_EQ(shot.At(x, y)[3], 0) << x << ", " << y;
}

TEST_F(GreenScreenPicture, ASizeThatChangesEachFrameIsKeyedEachTime) {
  PaintedSource source;
  const GreenScreen filter(source.Get());
  for (uint32_t frame = 0; frame < 24; ++frame) {
    const uint32_t width = 16 + frame * 7 % 31, height = 12 + frame * 5 % 23;
    const Screenshot shot = Shoot(source, SquareOn(kRed, kGreen, width, height));
    ASSERT_EQ(shot.width, width);
    EXPECT_EQ(shot.At(1, 1)[3], 255) << width << "x" << height;
    EXPECT_EQ(shot.At(width - 2, height - 2)[3], 0) << width << "x" << height;
  }
}

// ---- More than one ----

TEST_F(GreenScreenPicture, TwoFiltersOnOneSourceKeyTwoColours) {
  PaintedSource source;
  const GreenScreen green(source.Get(), kRawKey);
  const GreenScreen blue(source.Get(), R"({"keyColor":[0,0,1],"denoiseEnabled":false})");
  Picture picture = SquareOn(kBlue, kGreen);
  for (size_t channel = 0; channel < 4; ++channel) picture.At(30, 40)[channel] = static_cast<uint8_t>(kRed[channel]);
  const Screenshot shot = Shoot(source, picture);
  EXPECT_EQ(shot.At(5, 5)[3], 0);
  EXPECT_EQ(shot.At(40, 40)[3], 0);
  EXPECT_EQ(shot.At(30, 40)[3], 255);
}

TEST_F(GreenScreenPicture, OneSourceInTwoScenesLooksTheSameInBoth) {
  PaintedSource source;
  const GreenScreen filter(source.Get());
  source.Paint(SquareOn(kRed, kGreen));
  std::vector<OBSSceneAutoRelease> scenes;
  for (const char *name : {"one", "two"}) {
    scenes.emplace_back(obs_scene_create_private(name));
    obs_scene_add(scenes.back(), source.Get());
  }
  WaitForTicks(2);
  const Screenshot first = TakeScreenshot(obs_scene_get_source(scenes[0]));
  const Screenshot second = TakeScreenshot(obs_scene_get_source(scenes[1]));
  EXPECT_EQ(first.pixels, second.pixels);
  ASSERT_EQ(first.width, 320u);
  EXPECT_EQ(first.At(40, 40)[3], 0);
  ExpectNear(first.At(5, 5), kRed, 1);
  for (const OBSSceneAutoRelease &scene : scenes) {
    obs_scene_enum_items(
        scene, [](obs_scene_t *, obs_sceneitem_t *item, void *) { return obs_sceneitem_remove(item), true; }, nullptr);
  }
}

// ---- What a host makes of it ----

// The texture goes with the filter; whoever draws next with libobs's own effect must not meet it.
TEST_F(GreenScreenPicture, TheSharedDefaultEffectKeepsNoTextureOfTheFilters) {
  PaintedSource source;
  const GreenScreen filter(source.Get(), kRawKey);
  Shoot(source, SquareOn(kRed, kGreen));
  WaitForTicks(2);
  obs_enter_graphics();
  gs_texrender_t *const target = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
  EXPECT_TRUE(gs_texrender_begin(target, 64, 48));
  obs_source_video_render(source.Get());
  gs_texrender_end(target);
  gs_eparam_t *const image = gs_effect_get_param_by_name(obs_get_base_effect(OBS_EFFECT_DEFAULT), "image");
  gs_texture_t *texture = nullptr;
  void *const value = gs_effect_get_val(image);
  if (value) std::memcpy(&texture, value, sizeof(texture));
  bfree(value);
  gs_texrender_destroy(target);
  obs_leave_graphics();
  EXPECT_EQ(texture, nullptr);
}

TEST_F(GreenScreenPicture, ATranslucentEdgeBlendsWithWhatLiesBehind) {
  PaintedSource behind;
  Picture white(320, 240);
  white.Fill(255, 255, 255);
  behind.Paint(white);
  PaintedSource source;
  const GreenScreen filter(source.Get(), R"({"denoiseEnabled":false,"spillSupEnabled":false})");
  // Half of the key's chroma: partly transparent. With a third of it a pixel is taken for a greenish front.
  const Screenshot plain = Shoot(source, SquareOn({80, 200, 80, 255}, kGreen));
  const Pixel edge = plain.At(5, 5);
  ASSERT_GT(edge[3], 20);
  ASSERT_LT(edge[3], 235);
  ExpectNear(edge, {80, 200, 80, edge[3]}, 1);
  const OBSSceneAutoRelease scene = obs_scene_create_private("composite");
  obs_scene_add(scene, behind.Get());
  obs_scene_add(scene, source.Get());
  WaitForTicks(2);
  const Screenshot shot = TakeScreenshot(obs_scene_get_source(scene));
  for (size_t channel = 0; channel < 3; ++channel) {
    const double part = edge[3] / 255.0;
    EXPECT_NEAR(shot.At(5, 5)[channel], edge[channel] * part + 255 * (1 - part), 2);
    EXPECT_NEAR(shot.At(50, 40)[channel], 255, 1);
  }
  obs_scene_enum_items(
      scene, [](obs_scene_t *, obs_sceneitem_t *item, void *) { return obs_sceneitem_remove(item), true; }, nullptr);
}

TEST_F(GreenScreenPicture, ShrinkMovesAStraightEdgeByItsPixels) {
  PaintedSource source;
  GreenScreen filter(source.Get(), kRawKey);
  source.Paint(SquareOn(kRed, kGreen));
  filter.Configure(R"({"alphaShrink":3})");
  const Screenshot shot = TakeScreenshot(source.Get());
  EXPECT_EQ(shot.At(28, 10)[3], 255);
  EXPECT_EQ(shot.At(29, 10)[3], 0);
  EXPECT_EQ(shot.At(10, 20)[3], 255);
  EXPECT_EQ(shot.At(10, 21)[3], 0);
}

TEST_F(GreenScreenPicture, BlurFeathersTheEdgeInwards) {
  PaintedSource source;
  GreenScreen filter(source.Get(), kRawKey);
  source.Paint(SquareOn(kRed, kGreen, 256, 192));
  filter.Configure(R"({"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.5})");
  const Screenshot shot = TakeScreenshot(source.Get());
  EXPECT_EQ(shot.At(129, 40)[3], 0) << "the backing stays out";
  EXPECT_LT(shot.At(127, 40)[3], 80);
  EXPECT_GT(shot.At(124, 40)[3], shot.At(127, 40)[3]);
  EXPECT_EQ(shot.At(60, 40)[3], 255) << "the middle stays whole";
}

TEST_F(GreenScreenPicture, SpillTurnsGreenishGreyToGrey) {
  PaintedSource source;
  GreenScreen filter(source.Get(), kRawKey);
  const Picture picture = SquareOn({120, 140, 120, 255}, kGreen);
  const Screenshot treated = Shoot(source, picture);
  EXPECT_LE(treated.At(5, 5)[1] - treated.At(5, 5)[0], 4);
  filter.Configure(R"({"spillSupEnabled":false})");
  ExpectNear(TakeScreenshot(source.Get()).At(5, 5), {120, 140, 120, 255}, 1);
}

// Every hue at many strengths, over grey.
Picture Colours() {
  Picture picture(96, 64);
  for (uint32_t y = 0; y < picture.height; ++y) {
    for (uint32_t x = 0; x < picture.width; ++x) {
      const double hue = x * 2 * 3.14159265 / picture.width, strength = 127.0 * y / picture.height;
      for (size_t channel = 0; channel < 3; ++channel)
        picture.At(x, y)[channel] =
            static_cast<uint8_t>(128 + strength * std::cos(hue - static_cast<double>(channel) * 2 * 3.14159265 / 3));
      picture.At(x, y)[3] = 255;
    }
  }
  return picture;
}

TEST_F(GreenScreenPicture, EverySettingShowsInThePicture) {
  constexpr std::pair<const char *, const char *> kPairs[] = {
      {"{}", R"({"keyColor":[0.2,0.7,0.3]})"},
      {R"({"similarity":0.6})", R"({"similarity":0.4})"},
      {R"({"spillSupEnabled":true})", R"({"spillSupEnabled":false})"},
      {R"({"spillSupEnabled":true,"spillSupMethod":1})", R"({"spillSupMethod":2})"},
      {R"({"spillSupMethod":3})", R"({"spillSupMethod":4})"},
      {R"({"spillSupMethod":5})", R"({"spillSupMethod":6})"},
      {R"({"spillSupMethod":7})", R"({"spillSupMethod":8})"},
      {R"({"spillSupMethod":0})", R"({"spillSupMethod":1})"},
      {R"({"spillSupMethod":2,"spillSupRedW":0.9})", R"({"spillSupRedW":0.5})"},
      {R"({"spillSupMethod":5,"spillSupScaleR":0.5})", R"({"spillSupScaleR":0.1})"},
      {R"({"spillSupScaleG":-1})", R"({"spillSupScaleG":-0.5})"},
      {R"({"spillSupScaleB":0})", R"({"spillSupScaleB":0.5})"},
      {R"({"spillSupColorMix":0.5})", R"({"spillSupColorMix":0})"},
      {R"({"spillSupColorMix":0.5,"spillSupOffset":0.55})", R"({"spillSupOffset":1})"},
      {R"({"spillSupOffset":0.55,"spillSupYThres":0.9})", R"({"spillSupYThres":0})"},
      {R"({"spillSupYThres":0.9,"blueBgFlag":0})", R"({"blueBgFlag":1})"},
      {R"({"blueBgFlag":0,"alphaDown":0.75})", R"({"alphaDown":0.4})"},
      {R"({"alphaUp":0.25})", R"({"alphaUp":0.5})"},
      {R"({"alphaShrink":0})", R"({"alphaShrink":2})"},
      {R"({"fgAlphaBlurEnabled":false,"fgAlphaBlurIntensity":0.4})", R"({"fgAlphaBlurEnabled":true})"},
      {R"({"fgAlphaBlurIntensity":0.5})", R"({"fgAlphaBlurIntensity":1})"},
  };
  PaintedSource source;
  GreenScreen filter(source.Get(), kRawKey);
  source.Paint(Colours());
  for (const auto &[before, after] : kPairs) {
    filter.Configure(before);
    const Screenshot first = TakeScreenshot(source.Get());
    filter.Configure(after);
    EXPECT_NE(TakeScreenshot(source.Get()).pixels, first.pixels) << before << " to " << after;
  }
}

// The mean change of alpha from frame to frame, over frames of a still but noisy half-transparent picture.
double Flicker(PaintedSource &source) {
  uint32_t random = 1;
  double sum = 0;
  std::vector<int> before;
  constexpr int kFrames = 20, kSettled = 8;
  for (int frame = 0; frame < kFrames; ++frame) {
    Picture picture(48, 48);
    for (size_t at = 0; at < picture.pixels.size(); ++at) {
      random = random * 1664525u + 1013904223u;
      constexpr int kBase[4] = {90, 165, 90, 255};
      picture.pixels[at] = static_cast<uint8_t>(kBase[at % 4] + (at % 4 == 3 ? 0 : static_cast<int>(random >> 29) - 4));
    }
    const Screenshot shot = Shoot(source, picture);
    std::vector<int> now;
    for (size_t at = 3; at < shot.pixels.size(); at += 4) now.push_back(shot.pixels[at]);
    for (size_t i = 0; frame >= kSettled && i < now.size(); ++i) sum += std::abs(now[i] - before[i]);
    before = now;
  }
  return sum / ((kFrames - kSettled) * 48.0 * 48.0);
}

TEST_F(GreenScreenPicture, DenoiseCalmsAStillEdge) {
  PaintedSource raw, calm;
  const GreenScreen without(raw.Get(), kRawKey);
  const GreenScreen with(calm.Get());
  const double flicker = Flicker(raw);
  EXPECT_GT(flicker, 2.0);
  EXPECT_LT(Flicker(calm), flicker * 0.35);
}

TEST_F(GreenScreenPicture, ALowerKalmanGainIsCalmer) {
  std::vector<double> flicker;
  for (const char *config : {R"({"aKalmanQ":0})", R"({"aKalmanQ":30})", R"({"aKalmanQ":100})"}) {
    PaintedSource source;
    const GreenScreen filter(source.Get(), config);
    flicker.push_back(Flicker(source));
  }
  EXPECT_LT(flicker[0], flicker[1] * 0.8);
  EXPECT_LT(flicker[1], flicker[2] * 0.8);
}

TEST_F(GreenScreenPicture, DenoiseSwitchedOnLaterCalmsTheEdge) {
  PaintedSource source;
  GreenScreen filter(source.Get());
  filter.Configure(R"({"denoiseEnabled":false})");
  const double raw = Flicker(source);
  filter.Configure(R"({"denoiseEnabled":true})");
  EXPECT_LT(Flicker(source), raw * 0.35);
}

TEST_F(GreenScreenPicture, AdjustmentSwitchedOffGivesThePictureOfItsDefaults) {
  PaintedSource source;
  GreenScreen filter(source.Get(), kRawKey);
  source.Paint(Colours());
  const Screenshot defaults = TakeScreenshot(source.Get());
  filter.Configure(R"({"alphaDown":0.3,"alphaUp":0.6,"alphaShrink":2})");
  EXPECT_NE(TakeScreenshot(source.Get()).pixels, defaults.pixels);
  filter.Configure(R"({"alphaAdjustEnabled":false})");
  EXPECT_EQ(TakeScreenshot(source.Get()).pixels, defaults.pixels);
}

TEST_F(GreenScreenPicture, DenoiseFollowsAMovingEdgeAtOnce) {
  PaintedSource source;
  const GreenScreen filter(source.Get());
  for (int frame = 0; frame < 5; ++frame) Shoot(source, SquareOn(kRed, kGreen));
  const Screenshot shot = Shoot(source, SquareOn(kGreen, kRed));
  EXPECT_EQ(shot.At(5, 5)[3], 0);
  EXPECT_EQ(shot.At(50, 40)[3], 255);
}

// ---- Threads ----

TEST_F(GreenScreenPicture, ScreenshotsFromAnotherThreadMeetUpdatesAndTicks) {
  PaintedSource source;
  GreenScreen filter(source.Get(), kRawKey);
  source.Paint(SquareOn(kRed, kGreen));
  std::atomic<bool> stop{false};
  std::atomic<int> taken{0}, wrong{0};
  std::thread thread([&] {
    while (!stop) {
      const Screenshot shot = TakeScreenshot(source.Get());
      if (shot.At(5, 5)[3] != 255 || shot.At(50, 40)[3] != 0) ++wrong;
      ++taken;
    }
  });
  for (int update = 0; update < 30; ++update)
    filter.Configure(update % 2 == 0 ? R"({"similarity":0.5,"alphaUp":0.2})" : R"({"similarity":0.6,"alphaUp":0.25})");
  vanta_test::WaitUntil([&] { return taken >= 20; }, "twenty screenshots");
  stop = true;
  thread.join();
  EXPECT_EQ(wrong, 0);
}

}  // namespace
}  // namespace vanta_integration
