// A keyed source that the host draws smaller and larger: dark hair keeps its colour.
#include <graphics/vec2.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"

namespace vanta_integration {
namespace {

using Colour = std::array<double, 3>;  // 0 to 255

constexpr uint32_t kWidth = 96, kHeight = 72;
constexpr Colour kHair{56, 36, 26};
constexpr Colour kBrightHair{232, 226, 214};
constexpr Colour kBacking{51, 173, 71};
constexpr Colour kBehind{210, 200, 190};
constexpr char kConfig[] = R"({"keyColor":[0.2,0.68,0.28],"denoiseEnabled":false})";

// A head's edge with strands that fan out of it, at many angles and widths.
Picture Hair(const Colour &hair = kHair) {
  Picture picture(kWidth, kHeight);
  for (uint32_t y = 0; y < kHeight; ++y) {
    for (uint32_t x = 0; x < kWidth; ++x) {
      const double dx = x + 0.5 - kWidth / 2.0, dy = y + 0.5 - kHeight;
      const double distance = std::hypot(dx, dy), angle = std::atan2(dy, dx);
      double part = std::clamp((30 - distance) / 3 + 0.5, 0.0, 1.0);
      for (int strand = 0; strand < 14 && distance < 64; ++strand) {
        const double off = std::fabs(angle + 3.14159265 * (strand + 0.5) / 14) * distance;
        const double half = 0.4 + 0.15 * (strand % 5);
        part = std::max(part, (0.4 + 0.1 * (strand % 7)) * std::clamp(half + 0.5 - off, 0.0, 1.0));
      }
      for (size_t channel = 0; channel < 3; ++channel)
        picture.At(x, y)[channel] =
            static_cast<uint8_t>(std::lround(kBacking[channel] + (hair[channel] - kBacking[channel]) * part));
      picture.At(x, y)[3] = 255;
    }
  }
  return picture;
}

double Decoded(double encoded) {
  const double value = encoded / 255;
  return value <= 0.04045 ? value / 12.92 : std::pow((value + 0.055) / 1.055, 2.4);
}

double Encoded(double linear) {
  return 255 * (linear <= 0.0031308 ? linear * 12.92 : 1.055 * std::pow(linear, 1 / 2.4) - 0.055);
}

enum class Filtered { kStraight, kPremultiplied };

// What the point (x, y), in pixels, of a straight picture looks like over `kBehind`, between its four nearest pixels.
Colour Over(const Screenshot &shot, double x, double y, Filtered filtered) {
  Colour colour{};
  double alpha = 0;
  const double left = std::floor(x - 0.5), top = std::floor(y - 0.5);
  for (int corner = 0; corner < 4; ++corner) {
    const double cx = left + corner % 2, cy = top + corner / 2;
    const double weight = (1 - std::fabs(x - 0.5 - cx)) * (1 - std::fabs(y - 0.5 - cy));
    const std::array<int, 4> pixel = shot.At(static_cast<uint32_t>(std::clamp(cx, 0.0, shot.width - 1.0)),
                                             static_cast<uint32_t>(std::clamp(cy, 0.0, shot.height - 1.0)));
    alpha += weight * pixel[3] / 255.0;
    for (size_t channel = 0; channel < 3; ++channel)
      colour[channel] += weight * pixel[channel] * (filtered == Filtered::kStraight ? 1 : pixel[3] / 255.0);
  }
  for (size_t channel = 0; channel < 3; ++channel)
    colour[channel] = colour[channel] * (filtered == Filtered::kStraight ? alpha : 1) + kBehind[channel] * (1 - alpha);
  return colour;
}

double Difference(const Colour &a, const Colour &b) {
  return std::max({std::fabs(a[0] - b[0]), std::fabs(a[1] - b[1]), std::fabs(a[2] - b[2])});
}

class GreenScreenScaled : public testing::Test {
 protected:
  GreenScreenScaled() { RegisterPaintedSource(); }
  ~GreenScreenScaled() override { EXPECT_EQ(log_.CountWith("[LX_green_screen_filter]"), 0u); }

  const ObsSession session_;
  vanta_test::LogCapture log_;
};

TEST_F(GreenScreenScaled, AnItemOfAnySizeShowsThePictureFilteredPremultiplied) {
  PaintedSource behind, source;
  Picture plain(320, 240);
  plain.Fill(static_cast<uint8_t>(kBehind[0]), static_cast<uint8_t>(kBehind[1]), static_cast<uint8_t>(kBehind[2]));
  behind.Paint(plain);
  source.Paint(Hair());
  for (const char *method : {"0", "1", "5"}) {
    const std::string config = std::string(kConfig).insert(1, R"("spillSupMethod":)" + std::string(method) + ",");
    const GreenScreen filter(source.Get(), config);
    WaitForTicks(2);
    const Screenshot whole = TakeScreenshot(source.Get());
    const OBSSceneAutoRelease scene = obs_scene_create_private("scaled");
    obs_scene_add(scene, behind.Get());
    obs_sceneitem_t *item = obs_scene_add(scene, source.Get());
    for (const float scale : {0.5f, 1.0f, 1.5f, 2.25f}) {
      vec2 both;
      vec2_set(&both, scale, scale);
      obs_sceneitem_set_scale(item, &both);
      WaitForTicks(2);
      const Screenshot shot = TakeScreenshot(obs_scene_get_source(scene));
      double worst = 0;
      for (uint32_t y = 0; y < static_cast<uint32_t>(kHeight * scale); ++y) {
        for (uint32_t x = 0; x < static_cast<uint32_t>(kWidth * scale); ++x) {
          const std::array<int, 4> pixel = shot.At(x, y);
          const Colour got{static_cast<double>(pixel[0]), static_cast<double>(pixel[1]), static_cast<double>(pixel[2])};
          worst =
              std::max(worst, Difference(got, Over(whole, (x + 0.5) / static_cast<double>(scale),
                                                   (y + 0.5) / static_cast<double>(scale), Filtered::kPremultiplied)));
        }
      }
      EXPECT_LE(worst, 10) << "scale " << scale << ", method " << method;
    }
    obs_scene_enum_items(
        scene, [](obs_scene_t *, obs_sceneitem_t *each, void *) { return obs_sceneitem_remove(each), true; }, nullptr);
  }
}

// What a front of the hair's colour over `behind` can look like: in encoded values, or as libobs blends an item with a
// scale filter.
std::vector<Colour> Mixes(const Colour &behind, bool linear_light) {
  constexpr int kSteps = 96;
  std::vector<Colour> mixes;
  for (int step = 0; step <= kSteps; ++step) {
    const double clear = static_cast<double>(step) / kSteps;
    const double alpha = 1 - clear * clear;  // finer where a little light counts most
    Colour &mix = mixes.emplace_back();
    for (size_t channel = 0; channel < 3; ++channel) {
      mix[channel] = linear_light ? Encoded(Decoded(kHair[channel] * alpha) + Decoded(behind[channel]) * (1 - alpha))
                                  : kHair[channel] * alpha + behind[channel] * (1 - alpha);
    }
  }
  return mixes;
}

// How far the item's worst pixel lies from all that the front over `behind` can look like.
double WorstHalo(const Screenshot &shot, float scale, const Colour &behind, bool linear_light) {
  const std::vector<Colour> mixes = Mixes(behind, linear_light);
  double worst = 0;
  for (uint32_t y = 0; y < static_cast<uint32_t>(kHeight * scale); ++y) {
    for (uint32_t x = 0; x < static_cast<uint32_t>(kWidth * scale); ++x) {
      const std::array<int, 4> pixel = shot.At(x, y);
      const Colour seen{static_cast<double>(pixel[0]), static_cast<double>(pixel[1]), static_cast<double>(pixel[2])};
      double off = 1000;
      for (const Colour &mix : mixes) off = std::min(off, Difference(seen, mix));
      worst = std::max(worst, off);
    }
  }
  return worst;
}

// What the key itself leaves of the backing shows unscaled too. Bicubic and Lanczos filters overshoot at any edge.
TEST_F(GreenScreenScaled, NoWayOfScalingBringsAHalo) {
  struct Way {
    obs_scale_type type;
    double more_than_unscaled;  // levels
  };
  constexpr Way kWays[] = {{OBS_SCALE_DISABLE, 3},
                           {OBS_SCALE_BILINEAR, 4},
                           {OBS_SCALE_AREA, 4},
                           {OBS_SCALE_BICUBIC, 10},
                           {OBS_SCALE_LANCZOS, 10}};
  PaintedSource behind, source;
  source.Paint(Hair());
  const GreenScreen filter(source.Get(), kConfig);
  const OBSSceneAutoRelease scene = obs_scene_create_private("scaled");
  obs_scene_add(scene, behind.Get());
  obs_sceneitem_t *item = obs_scene_add(scene, source.Get());
  obs_set_output_source(0, obs_scene_get_source(scene));
  for (const Colour &colour : {Colour{255, 255, 255}, Colour{0, 0, 0}, Colour{230, 38, 128}}) {
    Picture plain(320, 240);
    plain.Fill(static_cast<uint8_t>(colour[0]), static_cast<uint8_t>(colour[1]), static_cast<uint8_t>(colour[2]));
    behind.Paint(plain);
    const auto show = [item](obs_scale_type type, float scale) {
      vec2 both;
      vec2_set(&both, scale, scale);
      obs_sceneitem_set_scale(item, &both);
      obs_sceneitem_set_scale_filter(item, type);
      WaitForTicks(3);
      return TakeCanvas();
    };
    const double unscaled = WorstHalo(show(OBS_SCALE_DISABLE, 1), 1, colour, false);
    EXPECT_LT(unscaled, 24) << "behind: " << colour[0] << " " << colour[1] << " " << colour[2];
    for (const Way &way : kWays) {
      for (const float scale : {0.4f, 1.5f}) {
        EXPECT_LT(WorstHalo(show(way.type, scale), scale, colour, way.type != OBS_SCALE_DISABLE),
                  unscaled + way.more_than_unscaled)
            << "scale filter " << way.type << ", scale " << scale << ", behind: " << colour[0] << " " << colour[1]
            << " " << colour[2];
      }
    }
  }
  obs_set_output_source(0, nullptr);
}

// A program that keeps the straight picture and scales it itself, as most do.
TEST_F(GreenScreenScaled, AStraightCopyMayBeFilteredStraight) {
  PaintedSource source;
  const GreenScreen filter(source.Get(), kConfig);
  for (const Colour &hair : {kHair, kBrightHair}) {
    source.Paint(Hair(hair));
    LearnPicture(source.Get());
    const Screenshot shot = TakeScreenshot(source.Get());
    for (const double scale : {0.5, 1.5}) {
      double worst = 0;
      for (double y = 0.5; y < kHeight * scale; ++y) {
        for (double x = 0.5; x < kWidth * scale; ++x)
          worst = std::max(worst, Difference(Over(shot, x / scale, y / scale, Filtered::kStraight),
                                             Over(shot, x / scale, y / scale, Filtered::kPremultiplied)));
      }
      EXPECT_LE(worst, 20) << "scale " << scale << ", hair " << hair[0];
    }
  }
}

}  // namespace
}  // namespace vanta_integration
