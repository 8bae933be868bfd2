// Makeup and effects on a face that is moved: they stay on what they lie on.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <opencv2/imgcodecs.hpp>

#include "fakes/runner/scripted_faces.h"
#include "fixtures/lumivex/engine_fixture.h"
#include "lumivex/lumivex_control.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
const ScriptedFace kFace{{160, 100}, 40};
const cv::Point2f kCrown{160, 60};  // above the forehead
constexpr int kHalf = 5;            // pixels of a mark

class Carried : public WithScriptedRunner {
 protected:
  Carried() { lumivex_set_frames_await_loads(true); }
  ~Carried() override { lumivex_set_frames_await_loads(false); }
};

struct Spot {
  double x = 0;
  double y = 0;
  int pixels = 0;
};

// The middle of everything red.
Spot RedSpot(const Picture &picture) {
  Spot spot;
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      if (picture.V(x, y) < 190) continue;
      spot.x += x + 0.5;
      spot.y += y + 0.5;
      ++spot.pixels;
    }
  }
  spot.x /= spot.pixels;
  spot.y /= spot.pixels;
  return spot;
}

using Moves = std::function<void(LX::LumivexSync &)>;

// Legs that grow by so much that they lift the head.
void LengthenLegs(LX::LumivexSync &engine) {
  engine.setBodySlimmingManualLegHeightRangeAndDir(0.6f, 1.0f, lumivex::kLegsDownwards);
  engine.setBodySlimmingIntensityWithType(lumivex::kSlimLegLength, 1.0f);
}

// Where a red square of the picture itself is shown.
Spot MovedMark(const Moves &moves, cv::Point2f at) {
  const auto engine = MakeEngine(kWidth, kHeight);
  moves(*engine);
  Picture picture(kWidth, kHeight, kGrey);
  const int x = static_cast<int>(at.x);
  const int y = static_cast<int>(at.y);
  picture.FillRect(x - kHalf - 1, y - kHalf - 1, x + kHalf + 1, y + kHalf + 1, {81, 90, 240});
  Process(*engine, picture);
  return RedSpot(picture);
}

// A folder with an effect of one red square, as large as the mark.
std::string SquareEffect(const std::string &anchor, float right, float down) {
  cv::imwrite(OwnFolder() + "/red.png", cv::Mat(16, 16, CV_8UC4, cv::Scalar(0, 0, 255, 255)));
  WriteFile("effect.json", R"({"format": 1, "layers": [{"image": "red.png", "anchor": ")" + anchor +
                               R"(", "size": 0.3, "offset": [)" + std::to_string(right) + ", " + std::to_string(down) +
                               "]}]}");
  return OwnFolder();
}

Spot MovedEffect(const Moves &moves, const std::string &folder) {
  const auto engine = MakeEngine(kWidth, kHeight);
  moves(*engine);
  engine->setMagicEffectWithPath(folder, kMainEffectSlot, false);
  Picture picture(kWidth, kHeight, kGrey);
  Process(*engine, picture);
  Process(*engine, picture);
  picture = Picture(kWidth, kHeight, kGrey);
  Process(*engine, picture);
  return RedSpot(picture);
}

TEST_F(Carried, ACrownGoesUpWithTheHeadWhenLegsGrow) {
  Script().faces = {kFace};
  const Spot mark = MovedMark(LengthenLegs, kCrown);
  // The forehead's anchor is at 0.75 of 40 pixels above the eyes.
  const Spot crown = MovedEffect(LengthenLegs, SquareEffect("forehead", 0.0f, -0.25f));
  ASSERT_LT(mark.y, kCrown.y - 5) << "the head has moved";
  EXPECT_NEAR(crown.x, mark.x, 1.0);
  EXPECT_NEAR(crown.y, mark.y, 1.0);
}

TEST_F(Carried, AStickerOnACheekComesInWithIt) {
  Script().faces = {kFace};
  const Moves slim = [](LX::LumivexSync &engine) { engine.setDeformIntensityWithMode(lumivex::kDeformSlimFace, 1.0f); };
  const cv::Point2f at{140, 140};
  const Spot mark = MovedMark(slim, at);
  const Spot sticker = MovedEffect(slim, SquareEffect("left_eye", 0.0f, 1.0f));
  ASSERT_GT(mark.x, at.x + 1.5);
  EXPECT_NEAR(sticker.x, mark.x, 1.0);
  EXPECT_NEAR(sticker.y, mark.y, 1.0);
}

TEST_F(Carried, AStickerGrowsWithTheEyeThatItCovers) {
  Script().faces = {kFace};
  const Moves none = [](LX::LumivexSync &) {};
  const Moves larger = [](LX::LumivexSync &engine) {
    engine.setDeformIntensityWithMode(lumivex::kDeformEyeSize, 1.0f);
  };
  const std::string folder = SquareEffect("left_eye", 0.0f, 0.0f);
  EXPECT_GT(MovedEffect(larger, folder).pixels, MovedEffect(none, folder).pixels * 5 / 4);
}

TEST_F(Carried, MakeupGoesUpWithTheHeadWhenLegsGrow) {
  Script().faces = {kFace};
  cv::imwrite(OwnFolder() + "/red.png", cv::Mat(12, 12, CV_8UC4, cv::Scalar(0, 0, 255, 255)));
  // 6, 6 of the picture is 20 pixels right of the left eye: between the eyes.
  WriteFile("makeup.json", R"({"format": 1, "layers": [{"image": "red.png",
      "anchors": {"left_eye": [-14, 6], "right_eye": [26, 6]}}]})");
  const Spot mark = MovedMark(LengthenLegs, {160, 100});
  const auto engine = MakeEngine(kWidth, kHeight);
  LengthenLegs(*engine);
  LXMakeupInfo info{};
  std::strncpy(info.resourceDir, OwnFolder().c_str(), sizeof(info.resourceDir) - 1);
  info.intensity = 1.0f;
  engine->setMakeupInfo({info});
  // Frames until it has been read.
  Picture picture(kWidth, kHeight, kGrey);
  Process(*engine, picture);
  picture = Picture(kWidth, kHeight, kGrey);
  Process(*engine, picture);
  const Spot makeup = RedSpot(picture);
  ASSERT_LT(mark.y, 100 - 5);
  EXPECT_NEAR(makeup.x, mark.x, 1.0);
  EXPECT_NEAR(makeup.y, mark.y, 1.0);
}

}  // namespace
}  // namespace lumivex_test
