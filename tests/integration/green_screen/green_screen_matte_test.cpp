// The green screen's matte on whole libobs: against the same arithmetic on the CPU, and what each control does to it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "families/reference_key.h"
#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"

namespace vanta_integration {
namespace {

constexpr uint32_t kWidth = 192, kHeight = 144;
constexpr int kSettled = 12;  // frames after which the map of a still picture stays what it is

// Discs of many colours, with soft edges, before a backing in uneven light.
Picture Scene(const keyer_bench::Colour &backing) {
  constexpr float kColours[12][3] = {{0.9f, 0.9f, 0.9f},    {0.05f, 0.05f, 0.06f}, {0.5f, 0.5f, 0.5f},
                                     {0.85f, 0.65f, 0.55f}, {0.75f, 0.15f, 0.1f},  {0.8f, 0.75f, 0.2f},
                                     {0.3f, 0.2f, 0.12f},   {0.4f, 0.3f, 0.6f},    {0.35f, 0.45f, 0.5f},
                                     {0.95f, 0.6f, 0.2f},   {0.2f, 0.2f, 0.25f},   {0.45f, 0.46f, 0.25f}};
  Picture picture(kWidth, kHeight);
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      const float light = 1.05f - 0.4f * static_cast<float>(x) / kWidth - 0.1f * static_cast<float>(y) / kHeight;
      const uint32_t disc = y / 48 * 4 + x / 48;
      const float away = std::hypot(static_cast<float>(x % 48) - 23.5f, static_cast<float>(y % 48) - 23.5f);
      const float alpha = std::clamp((18.0f - away) / (1.0f + static_cast<float>(disc % 4) * 2) + 0.5f, 0.0f, 1.0f);
      const float back[3] = {backing.r * light, backing.g * light, backing.b * light};
      for (size_t c = 0; c < 3; ++c)
        picture.At(x, y)[c] =
            static_cast<uint8_t>(std::lround(255 * (kColours[disc][c] * alpha + back[c] * (1 - alpha))));
      picture.At(x, y)[3] = 255;
    }
  }
  return picture;
}

std::string KeyOf(const keyer_bench::Colour &colour) {
  return R"({"denoiseEnabled":false,"spillSupEnabled":false,"keyColor":[)" + std::to_string(colour.r) + "," +
         std::to_string(colour.g) + "," + std::to_string(colour.b) + "]}";
}

class GreenScreenMatte : public testing::Test {
 protected:
  GreenScreenMatte() { RegisterPaintedSource(); }
  ~GreenScreenMatte() override { EXPECT_EQ(log_.CountWith("[LX_green_screen_filter]"), 0u); }

  static Screenshot Settled(const PaintedSource &source) {
    LearnPicture(source.Get());
    return TakeScreenshot(source.Get());
  }

  const ObsSession session_;
  vanta_test::LogCapture log_;
};

constexpr keyer_bench::Colour kBackings[] = {{0.20f, 0.68f, 0.28f}, {0.12f, 0.28f, 0.78f}};

TEST_F(GreenScreenMatte, IsThatOfTheSameArithmeticOnTheCpu) {
  for (const keyer_bench::Colour &backing : kBackings) {
    PaintedSource source;
    const Picture picture = Scene(backing);
    source.Paint(picture);
    const GreenScreen filter(source.Get(), KeyOf(backing));
    const Screenshot shot = Settled(source);
    keyer_bench::KeyConstants constants;
    constants.denoise = false;
    keyer_bench::ReferenceKey reference(kWidth, kHeight, backing, constants);
    std::vector<float> wanted;
    for (int frame = 0; frame < kSettled; ++frame) wanted = reference.Next(picture.pixels);
    ASSERT_EQ(shot.pixels.size(), wanted.size() * 4);
    double all = 0, edge = 0, edges = 0;
    for (size_t i = 0; i < wanted.size(); ++i) {
      const double off = std::fabs(255 * static_cast<double>(wanted[i]) - shot.pixels[i * 4 + 3]);
      all += off / static_cast<double>(wanted.size());
      if (wanted[i] <= 0 || wanted[i] >= 1) continue;
      edge += off;
      ++edges;
    }
    EXPECT_LE(all, 0.5) << "levels, blue " << backing.b;
    ASSERT_GT(edges, 1000);
    EXPECT_LE(edge / edges, 1.0) << "levels where it is translucent, blue " << backing.b;
  }
}

struct Control {
  const char *name;
  std::vector<double> values;  // each clearer than the one before
};

class GreenScreenControl : public GreenScreenMatte, public testing::WithParamInterface<Control> {};

TEST_P(GreenScreenControl, MovesTheMatteInOneDirectionEverywhere) {
  for (const keyer_bench::Colour &backing : kBackings) {
    PaintedSource source;
    source.Paint(Scene(backing));
    GreenScreen filter(source.Get(), KeyOf(backing));
    filter.Configure(R"({"fgAlphaBlurEnabled":true})");
    Screenshot before;
    for (const double value : GetParam().values) {
      filter.Configure("{\"" + std::string(GetParam().name) + "\":" + std::to_string(value) + "}");
      const Screenshot shot = Settled(source);
      if (before.pixels.empty()) {
        before = shot;
        continue;
      }
      int rise = 0;
      long fall = 0;
      for (size_t i = 3; i < shot.pixels.size(); i += 4) {
        rise = std::max(rise, shot.pixels[i] - before.pixels[i]);
        fall += before.pixels[i] - shot.pixels[i];
      }
      EXPECT_LE(rise, 2) << "to " << value << ", blue " << backing.b;
      EXPECT_GT(fall, 0) << "to " << value << ", blue " << backing.b;
      before = shot;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Each, GreenScreenControl,
                         testing::Values(Control{"similarity", {0.45, 0.6, 0.667, 0.75, 0.9}},
                                         Control{"alphaUp", {0.1, 0.2, 0.25, 0.3, 0.4, 0.6}},
                                         Control{"alphaDown", {0.3, 0.5, 0.75, 0.9, 1.2}},
                                         Control{"alphaShrink", {0, 0.5, 1, 2, 4}},
                                         Control{"fgAlphaBlurIntensity", {0, 0.25, 0.5, 1}}),
                         [](const auto &control) { return std::string(control.param.name); });

}  // namespace
}  // namespace vanta_integration
