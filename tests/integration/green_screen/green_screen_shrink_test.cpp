// The green screen's shrink on whole libobs: how far edges of any angle move, and what becomes of strands, gaps and
// holes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include "fixtures/libobs/green_screen_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/libobs/screenshot.h"
#include "fixtures/process/log_capture.h"

namespace vanta_integration {
namespace {

constexpr double kPi = 3.14159265;
constexpr uint32_t kSize = 160;  // of the pictures, both ways
constexpr double kMiddle = kSize / 2.0;
constexpr double kRadius = 60;   // of the circle in which alpha is measured
constexpr double kMoves = 0.15;  // pixels by which an edge may miss its place
constexpr int kDegrees[] = {0, 15, 30, 45, 60, 75, 90, 105, 120, 135, 150, 165};

// Red where `front`, of a point relative to the picture's middle, is 1, green where it is 0.
Picture Paint(const std::function<double(double x, double y)> &front) {
  Picture picture(kSize, kSize);
  for (uint32_t y = 0; y < kSize; ++y) {
    for (uint32_t x = 0; x < kSize; ++x) {
      const double part = std::clamp(front(x + 0.5 - kMiddle, y + 0.5 - kMiddle), 0.0, 1.0);
      picture.At(x, y)[0] = static_cast<uint8_t>(std::lround(200 * part));
      picture.At(x, y)[1] = static_cast<uint8_t>(std::lround(255 - 225 * part));
      picture.At(x, y)[3] = 255;
    }
  }
  return picture;
}

// The front beyond a soft edge through the middle, `softness` pixels wide, whose normal points in direction `angle`.
Picture EdgeAt(double angle, double softness) {
  return Paint([=](double x, double y) { return (x * std::cos(angle) + y * std::sin(angle)) / softness + 0.5; });
}

// A band of the front through the middle, `width` pixels wide, with edges one pixel wide.
Picture StrandAt(double angle, double width) {
  return Paint(
      [=](double x, double y) { return (width + 1) / 2 - std::fabs(x * std::cos(angle) + y * std::sin(angle)); });
}

// The same band of backing, in the front.
Picture GapAt(double angle, double width) {
  return Paint(
      [=](double x, double y) { return std::fabs(x * std::cos(angle) + y * std::sin(angle)) - (width - 1) / 2; });
}

// Sum of `value` of alpha, from 0 to 1, within a circle around the middle.
double SumInCircle(const Screenshot &shot, const std::function<double(double)> &value) {
  double sum = 0;
  for (uint32_t y = 0; y < shot.height; ++y) {
    for (uint32_t x = 0; x < shot.width; ++x) {
      if (std::hypot(x + 0.5 - kMiddle, y + 0.5 - kMiddle) < kRadius) sum += value(shot.At(x, y)[3] / 255.0);
    }
  }
  return sum;
}

double AlphaInCircle(const Screenshot &shot) {
  return SumInCircle(shot, [](double alpha) { return alpha; });
}

double ClearInCircle(const Screenshot &shot) {
  return SumInCircle(shot, [](double alpha) { return 1 - alpha; });
}

// The width of a straight edge's ramp through the middle of the circle, in pixels: the integral of alpha (1 - alpha)
// across a linear ramp is a sixth of its width, wherever the pixels lie.
double RampWidth(const Screenshot &shot) {
  return 6 * SumInCircle(shot, [](double alpha) { return alpha * (1 - alpha); }) / (2 * kRadius);
}

// Part of the circle between its diameter and a chord at `distance` from it, over the diameter: a little less than the
// distance.
double MeanWidth(double distance) {
  return (kRadius * kRadius * std::asin(distance / kRadius) +
          distance * std::sqrt(kRadius * kRadius - distance * distance)) /
         (2 * kRadius);
}

class GreenScreenShrink : public testing::Test {
 protected:
  GreenScreenShrink() { RegisterPaintedSource(); }
  ~GreenScreenShrink() override { EXPECT_EQ(log_.CountWith("[LX_green_screen_filter]"), 0u); }

  // Whose matte stays as it is from then on: the filter knows it.
  static void Show(PaintedSource &source, const Picture &picture) {
    source.Paint(picture);
    LearnPicture(source.Get());
  }
  Screenshot Shrunk(PaintedSource &source, GreenScreen &filter, double pixels) {
    filter.Configure(R"({"alphaShrink":)" + std::to_string(pixels) + "}");
    return TakeScreenshot(source.Get());
  }

  const ObsSession session_;
  vanta_test::LogCapture log_;
};

TEST_F(GreenScreenShrink, MovesASoftEdgeOfAnyAngleByItsPixels) {
  PaintedSource source;
  GreenScreen filter(source.Get(), R"({"denoiseEnabled":false})");
  for (const int degrees : kDegrees) {
    Show(source, EdgeAt(degrees * kPi / 180, 4));
    const double before = AlphaInCircle(Shrunk(source, filter, 0));
    for (const double pixels : {0.5, 1.0, 2.0, 4.0, 5.5, 7.0, 10.0}) {
      const double after = AlphaInCircle(Shrunk(source, filter, pixels));
      EXPECT_NEAR((before - after) / (2 * kRadius), MeanWidth(pixels), kMoves) << degrees << " degrees, " << pixels;
    }
  }
}

TEST_F(GreenScreenShrink, KeepsTheWidthOfASoftEdgeOfAnyAngle) {
  PaintedSource source;
  GreenScreen filter(source.Get(), R"({"denoiseEnabled":false})");
  for (const int degrees : kDegrees) {
    Show(source, EdgeAt(degrees * kPi / 180, 24));  // red on green keys in a third of that
    const double before = RampWidth(Shrunk(source, filter, 0));
    for (const double pixels : {0.5, 1.0, 2.0, 3.0, 4.0, 5.5, 7.0, 10.0}) {
      const double after = RampWidth(Shrunk(source, filter, pixels));
      EXPECT_NEAR(after / before, 1.0, 0.05) << degrees << " degrees, " << pixels << " pixels, from " << before;
    }
  }
}

TEST_F(GreenScreenShrink, StrandsAsNarrowAsWhatGoesFromBothSidesVanish) {
  PaintedSource source;
  GreenScreen filter(source.Get(), R"({"denoiseEnabled":false})");
  for (const int degrees : kDegrees) {
    // With its ramps half a pixel less than that: the key takes the outermost trace of red for more than it is.
    for (const double width : {1.0, 3.0, 4.5}) {
      Show(source, StrandAt(degrees * kPi / 180, width));
      ASSERT_GT(AlphaInCircle(Shrunk(source, filter, 0)), kRadius * width);
      EXPECT_LT(AlphaInCircle(Shrunk(source, filter, 3)), 1) << degrees << " degrees, " << width << " pixels";
    }
  }
}

TEST_F(GreenScreenShrink, AWiderStrandLosesItsPixelsOnBothSides) {
  PaintedSource source;
  GreenScreen filter(source.Get(), R"({"denoiseEnabled":false})");
  for (const int degrees : kDegrees) {
    Show(source, StrandAt(degrees * kPi / 180, 16));
    const double before = AlphaInCircle(Shrunk(source, filter, 0));
    for (const double pixels : {2.0, 6.0}) {
      const double lost = (before - AlphaInCircle(Shrunk(source, filter, pixels))) / (2 * kRadius);
      EXPECT_NEAR(lost, 2 * pixels, 2 * kMoves) << degrees << " degrees, " << pixels << " pixels";
    }
  }
}

TEST_F(GreenScreenShrink, AGapWidensByItsPixelsOnBothSidesAndStaysOne) {
  PaintedSource source;
  GreenScreen filter(source.Get(), R"({"denoiseEnabled":false})");
  for (const int degrees : kDegrees) {
    for (const double width : {2.5, 3.5}) {
      Show(source, GapAt(degrees * kPi / 180, width));
      const double before = ClearInCircle(Shrunk(source, filter, 0)) / (2 * kRadius);
      for (const double pixels : {2.0, 6.0, 10.0}) {
        const double after = ClearInCircle(Shrunk(source, filter, pixels)) / (2 * kRadius);
        EXPECT_NEAR(after, 2 * MeanWidth(before / 2 + pixels), 2 * kMoves)
            << degrees << " degrees, " << pixels << " pixels, from " << before;
      }
    }
  }
}

TEST_F(GreenScreenShrink, ARoundHoleStaysRound) {
  constexpr double kHole = 2, kPixels = 6;
  PaintedSource source;
  GreenScreen filter(source.Get(), R"({"denoiseEnabled":false})");
  source.Paint(Paint([](double x, double y) { return std::hypot(x, y) - kHole + 0.5; }));
  const double before = std::sqrt(ClearInCircle(Shrunk(source, filter, 0)) / kPi);
  const Screenshot shot = Shrunk(source, filter, kPixels);
  EXPECT_NEAR(std::sqrt(ClearInCircle(shot) / kPi), before + kPixels, 2 * kMoves);
  for (const int degrees : kDegrees) {
    const auto alpha_at = [&](double distance) {
      return shot.At(static_cast<uint32_t>(kMiddle + distance * std::cos(degrees * kPi / 180)),
                     static_cast<uint32_t>(kMiddle + distance * std::sin(degrees * kPi / 180)))[3];
    };
    EXPECT_EQ(alpha_at(before + kPixels - 1.5), 0) << degrees;
    EXPECT_EQ(alpha_at(before + kPixels + 1.5), 255) << degrees;
  }
}

TEST_F(GreenScreenShrink, ALoneTexelOfBackingClearsItsSurroundings) {
  PaintedSource source;
  GreenScreen filter(source.Get(), R"({"denoiseEnabled":false})");
  Show(source, Paint([](double x, double y) { return std::max(std::fabs(x - 0.5), std::fabs(y - 0.5)); }));
  for (const double pixels : {1.0, 3.0, 5.0, 10.0}) {
    const Screenshot shot = Shrunk(source, filter, pixels);
    for (int y = -12; y <= 12; ++y) {
      for (int x = -12; x <= 12; ++x) {
        const int alpha = shot.At(static_cast<uint32_t>(kMiddle + x), static_cast<uint32_t>(kMiddle + y))[3];
        const double distance = std::hypot(x, y);
        if (distance > pixels - 1 && distance < pixels + 1.5) continue;  // of the circle's own pixels
        EXPECT_EQ(alpha, distance < pixels ? 0 : 255) << x << ", " << y << ", " << pixels << " pixels";
      }
    }
  }
}

}  // namespace
}  // namespace vanta_integration
