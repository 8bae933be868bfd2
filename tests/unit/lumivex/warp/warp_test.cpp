// Faces that are deformed and bodies that are slimmed.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "fakes/runner/scripted_faces.h"
#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/log_capture.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
constexpr float kEyesY = 90.0f;
const ScriptedFace kFace{{160, kEyesY}, 60};

class Deform : public WithScriptedRunner {};
class BodySlimming : public WithScriptedRunner {};

Picture Noisy(int padding = 0) {
  Picture picture(kWidth, kHeight, kSkin, padding);
  picture.FillLuma([](int x, int y) { return 120 + Noise(x, y, 60); });
  return picture;
}

// Wide waves, which a moved picture can be compared by.
Picture Smooth() {
  Picture picture(kWidth, kHeight, kGrey);
  picture.FillLuma(
      [](int x, int y) { return static_cast<int>(128 + 50 * std::sin(x / 9.0) + 40 * std::cos(y / 7.0)); });
  return picture;
}

std::shared_ptr<LX::FrameData> Turned(LX::LumivexSync &engine, Picture &picture, int rotation, bool flip = false) {
  auto frame = picture.Frame();
  frame->rotation = rotation;
  frame->flip = flip;
  return engine.processFrameData(frame);
}

Picture Deformed(const Picture &before, int mode, float intensity) {
  const auto engine = MakeEngine(before.Width(), before.Height());
  engine->setDeformIntensityWithMode(mode, intensity);
  Picture picture = before;
  Process(*engine, picture);
  return picture;
}

int DarkPixels(const Picture &picture, int left, int top, int right, int bottom) {
  int count = 0;
  for (int y = top; y < bottom; ++y) {
    for (int x = left; x < right; ++x) count += picture.Luma(x, y) < 60;
  }
  return count;
}

// The mean column of the row's dark pixels between two columns.
double DarkColumn(const Picture &picture, int row, int left, int right) {
  double sum = 0.0;
  int count = 0;
  for (int x = left; x < right; ++x) {
    if (picture.Luma(x, row) >= 60) continue;
    sum += x;
    ++count;
  }
  return count ? sum / count : -1.0;
}

TEST_F(Deform, AtZeroLeavesEveryByte) {
  Script().faces = {kFace};
  const Picture before = Noisy();
  for (int mode = 0; mode < static_cast<int>(lumivex::kDeformModeCount); ++mode)
    EXPECT_TRUE(Deformed(before, mode, 0.0f) == before) << mode;
}

TEST_F(Deform, WithoutAFaceLeavesEveryByte) {
  const Picture before = Noisy();
  EXPECT_TRUE(Deformed(before, lumivex::kDeformSlimFace, 1.0f) == before);
}

TEST_F(Deform, OfNoNumberIsOff) {
  Script().faces = {kFace};
  const Picture before = Noisy();
  EXPECT_TRUE(Deformed(before, lumivex::kDeformEyeSize, std::numeric_limits<float>::quiet_NaN()) == before);
}

TEST_F(Deform, SwitchedOffLeavesEveryByte) {
  Script().faces = {kFace};
  const Picture before = Noisy();
  Picture picture = before;
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setDeformIntensityWithMode(lumivex::kDeformSlimFace, 1.0f);
  engine->setEffectEnabledWithEffectType(lumivex::kEffectDeform, false);
  Process(*engine, picture);
  EXPECT_TRUE(picture == before);
  EXPECT_EQ(Script().runs, 0);
}

TEST_F(Deform, EyeSizeMakesAnEyeLarger) {
  Script().faces = {kFace};
  Picture before(kWidth, kHeight, {180, 128, 128});
  before.FillLuma([](int x, int y) { return std::hypot(x - 130, y - kEyesY) < 10 ? 20 : 180; });
  const int dark = DarkPixels(before, 100, 60, 160, 120);
  const Picture half = Deformed(before, lumivex::kDeformEyeSize, 0.5f);
  const Picture full = Deformed(before, lumivex::kDeformEyeSize, 1.0f);
  EXPECT_GT(DarkPixels(half, 100, 60, 160, 120), dark * 11 / 10);
  EXPECT_GT(DarkPixels(full, 100, 60, 160, 120), DarkPixels(half, 100, 60, 160, 120) * 11 / 10);
}

TEST_F(Deform, SlimFaceDrawsTheCheeksInFromBothSidesAlike) {
  Script().faces = {kFace};
  Picture before(kWidth, kHeight, {180, 128, 128});
  // On the face's edge at the height of the mouth.
  before.FillLuma([](int x, int) { return x == 106 || x == 107 || x == 212 || x == 213 ? 20 : 180; });
  const Picture after = Deformed(before, lumivex::kDeformSlimFace, 1.0f);
  const int row = 146;
  const double left = DarkColumn(after, row, 80, 160) - 106.5;
  const double right = DarkColumn(after, row, 160, 240) - 212.5;
  EXPECT_GT(left, 2.5);
  EXPECT_NEAR(left, -right, 1.0);
  EXPECT_NEAR(DarkColumn(after, 60, 80, 160), 106.5, 0.01) << "above the eyes nothing moves";
}

TEST_F(Deform, KeepsFineLinesWhereItEnlarges) {
  Script().faces = {kFace};
  // Lines four pixels apart on an eye, which becomes larger.
  Picture before(kWidth, kHeight, {128, 128, 128});
  before.FillLuma([](int x, int) { return x % 4 < 2 ? 60 : 200; });
  const Picture after = Deformed(before, lumivex::kDeformEyeSize, 1.0f);
  EXPECT_GT(after.LumaDeviation(122, 82, 138, 98), 0.86 * before.LumaDeviation(122, 82, 138, 98));
}

TEST_F(Deform, ChinGoesBothWays) {
  Script().faces = {kFace};
  Picture before(kWidth, kHeight, {180, 128, 128});
  const int chin = static_cast<int>(PointsOf(kFace)[9].y);
  before.FillLuma([&](int, int y) { return std::abs(y - chin) < 3 ? 20 : 180; });
  const auto dark_row = [](const Picture &picture) {
    double sum = 0.0;
    int count = 0;
    for (int y = 0; y < kHeight; ++y) {
      if (picture.Luma(160, y) < 60) sum += y, ++count;
    }
    return sum / count;
  };
  EXPECT_GT(dark_row(Deformed(before, lumivex::kDeformChin, 1.0f)), chin + 3.0);
  EXPECT_LT(dark_row(Deformed(before, lumivex::kDeformChin, -1.0f)), chin - 3.0);
}

TEST_F(Deform, MovesColourWithBrightness) {
  Script().faces = {kFace};
  Picture before(kWidth, kHeight, kGrey);
  before.FillRect(122, 82, 138, 98, {40, 90, 200});
  const Picture after = Deformed(before, lumivex::kDeformEyeSize, 1.0f);
  EXPECT_EQ(before.V(119, 90), 128);
  EXPECT_GT(after.V(120, 90), 170);
  EXPECT_LT(after.Luma(120, 90), 90);
}

TEST_F(Deform, LeavesWhatIsFarFromTheFace) {
  Script().faces = {{{100, 80}, 30}};
  const Picture before = Noisy();
  for (int mode = 0; mode < static_cast<int>(lumivex::kDeformModeCount); ++mode) {
    const Picture after = Deformed(before, mode, 1.0f);
    EXPECT_FALSE(after == before) << mode;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        if (std::hypot(x - 100, y - 80) < 130) continue;
        ASSERT_EQ(after.Luma(x, y), before.Luma(x, y)) << mode << ' ' << x << ' ' << y;
        ASSERT_EQ(after.V(x, y), before.V(x, y)) << mode << ' ' << x << ' ' << y;
      }
    }
  }
}

TEST_F(Deform, OfSeveralFacesIsEachOnes) {
  const Picture before = Noisy();
  const auto differs = [&](const Picture &after, int left, int right) {
    for (int x = left; x < right; ++x) {
      if (after.Luma(x, 60) != before.Luma(x, 60)) return true;
    }
    return false;
  };
  Script().faces = {{{80, 60}, 30}, {{240, 60}, 30}};
  const Picture after = Deformed(before, lumivex::kDeformEyeSize, 1.0f);
  EXPECT_TRUE(differs(after, 40, 120));
  EXPECT_TRUE(differs(after, 200, 280));
  EXPECT_FALSE(differs(after, 130, 190));
}

TEST_F(Deform, AtThePicturesEdgeBringsNothingFromOutside) {
  const cv::Point2f places[] = {{0, 0}, {319, 120}, {160, 239}, {-30, 100}, {5, 230}};
  for (const cv::Point2f &place : places) {
    Script().faces = {{place, 80}};
    // A ramp that no repeated edge pixel fits into: each row's codes stay strictly rising.
    Picture before(kWidth, kHeight, kGrey, 7);
    before.FillLuma([](int x, int) { return 16 + x * 2 / 3; });
    const Picture after = Deformed(before, lumivex::kDeformSlimFace, 1.0f);
    EXPECT_TRUE(after.MarginsUntouched());
    for (int y = 0; y < kHeight; y += 16) {
      for (int x = 0; x + 8 < kWidth; ++x)
        ASSERT_LT(after.Luma(x, y), after.Luma(x + 8, y)) << place << ' ' << x << ' ' << y;
    }
  }
}

TEST_F(Deform, BearsPointsThatAreNoNumbersAndFacesFarOutside) {
  const float nan = std::numeric_limits<float>::quiet_NaN();
  const float infinite = std::numeric_limits<float>::infinity();
  const Picture before = Noisy(3);
  std::vector<cv::Point2f> broken = PointsOf(kFace);
  broken[9] = {nan, infinite};
  Script().raw_faces = {broken, std::vector<cv::Point2f>(100, {50, 50}), std::vector<cv::Point2f>(101, {50, 50}), {}};
  EXPECT_TRUE(Deformed(before, lumivex::kDeformSlimFace, 1.0f) == before) << "none of them is a face";
  Script().raw_faces.clear();
  Script().faces = {{{1e7f, -1e7f}, 50}, {{160, 90}, 1e6f}};
  EXPECT_TRUE(Deformed(before, lumivex::kDeformSlimFace, 1.0f).MarginsUntouched());
}

TEST_F(Deform, TakesTheFirstHundredAndOneOfMorePoints) {
  std::vector<cv::Point2f> many = PointsOf(kFace);
  Script().raw_faces = {many};
  const Picture before = Noisy();
  const Picture expected = Deformed(before, lumivex::kDeformEyeSize, 1.0f);
  many.resize(10000, {1, 1});
  Script().raw_faces = {many};
  EXPECT_TRUE(Deformed(before, lumivex::kDeformEyeSize, 1.0f) == expected);
}

TEST_F(Deform, OfATurnedFrameIsThatOfTheUprightOneTurned) {
  Script().faces = {{{150, 100}, 60, 0.2f}};
  Picture upright = Smooth();
  const Picture before = upright;
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setDeformIntensityWithMode(lumivex::kDeformSlimFace, 1.0f);
  engine->setDeformIntensityWithMode(lumivex::kDeformChin, 1.0f);
  Process(*engine, upright);
  ASSERT_FALSE(upright == before);
  // Where the upright pixel is stored.
  struct Case {
    int rotation;
    bool flip;
    int width;
    int height;
    std::function<cv::Point(int, int)> stored;
  };
  const Case cases[] = {
      {90, false, kHeight, kWidth, [](int x, int y) { return cv::Point(y, kWidth - 1 - x); }},
      {180, false, kWidth, kHeight, [](int x, int y) { return cv::Point(kWidth - 1 - x, kHeight - 1 - y); }},
      {270, false, kHeight, kWidth, [](int x, int y) { return cv::Point(kHeight - 1 - y, x); }},
      {0, true, kWidth, kHeight, [](int x, int y) { return cv::Point(kWidth - 1 - x, y); }},
      {90, true, kHeight, kWidth, [](int x, int y) { return cv::Point(kHeight - 1 - y, kWidth - 1 - x); }},
  };
  for (const Case &each : cases) {
    std::vector<int> codes(static_cast<size_t>(kWidth * kHeight));
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const cv::Point at = each.stored(x, y);
        codes[static_cast<size_t>(at.y * each.width + at.x)] = before.Luma(x, y);
      }
    }
    Picture stored(each.width, each.height, kGrey);
    stored.FillLuma([&](int x, int y) { return codes[static_cast<size_t>(y * each.width + x)]; });
    const auto other = MakeEngine(each.width, each.height);
    other->setDeformIntensityWithMode(lumivex::kDeformSlimFace, 1.0f);
    other->setDeformIntensityWithMode(lumivex::kDeformChin, 1.0f);
    Turned(*other, stored, each.rotation, each.flip);
    int worst = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) {
        const cv::Point at = each.stored(x, y);
        worst = std::max(worst, std::abs(stored.Luma(at.x, at.y) - upright.Luma(x, y)));
      }
    }
    EXPECT_LE(worst, 3) << each.rotation << each.flip;
  }
}

TEST_F(Deform, EndsWithTheRunner) {
  Script().faces = {kFace};
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setDeformIntensityWithMode(lumivex::kDeformEyeSize, 1.0f);
  Picture picture = Noisy();
  Process(*engine, picture);
  Script().init_result = 1;
  engine->setModelRootPath("nothing there");
  const Picture before = Noisy();
  picture = before;
  Process(*engine, picture);
  EXPECT_TRUE(picture == before) << "no face of a runner that is gone";
}

TEST_F(Deform, OfAModeThatDoesNotExistIsSaid) {
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  engine->setDeformIntensityWithMode(-1, 1.0f);
  engine->setDeformIntensityWithMode(11, 1.0f);
  EXPECT_TRUE(log.HasText("[lumivex] no deform mode -1, modes go from 0 to 10"));
  EXPECT_TRUE(log.HasText("[lumivex] no deform mode 11, modes go from 0 to 10"));
}

TEST_F(Deform, RunsTheVisionStepOnEveryFrame) {
  const auto engine = MakeEngine(64, 64);
  engine->setDeformIntensityWithMode(lumivex::kDeformSlimFace, 1.0f);
  Picture picture(64, 64, kGrey);
  for (uint64_t i = 0; i < 10; ++i) {
    auto frame = picture.Frame();
    frame->timestamp = i * 1'000'000;
    EXPECT_GT(engine->processFrameData(frame)->tessera_ms, 0.0f);
  }
  EXPECT_EQ(Script().runs, 10);
}

TEST_F(Deform, IsToldInTheDumpText) {
  Script().faces = {kFace};
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setDeformIntensityWithMode(lumivex::kDeformChin, -0.25f);
  Picture picture = Noisy();
  auto frame = picture.Frame();
  frame->dump_flag = 1;
  const auto dump = nlohmann::json::parse(engine->processFrameData(frame)->dump_text);
  EXPECT_EQ(dump["deform"]["chin"], -0.25);
  EXPECT_TRUE(dump["stages_ms"].contains("warp"));
}

// ---- Bodies ----

Picture Bars() {
  Picture picture(kWidth, kHeight, {180, 128, 128});
  picture.FillLuma([](int x, int) { return std::abs(x - 130) < 2 || std::abs(x - 190) < 2 ? 20 : 180; });
  return picture;
}

Picture Slimmed(const Picture &before, LXBodySlimmingType type, float intensity) {
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setBodySlimmingIntensityWithType(type, intensity);
  Picture picture = before;
  Process(*engine, picture);
  return picture;
}

TEST_F(BodySlimming, NarrowsWhatItsTypeNames) {
  Script().faces = {{{160, 30}, 14}};
  const Picture before = Bars();
  // Eye distances below the eyes: the waist is 8.9 of them down, the shoulders 3.6.
  const int waist = 30 + 124;
  const int shoulder = 30 + 50;
  const Picture slim = Slimmed(before, lumivex::kSlimWaist, 1.0f);
  EXPECT_GT(DarkColumn(slim, waist, 100, 160), 132.0);
  EXPECT_LT(DarkColumn(slim, waist, 160, 220), 188.0);
  EXPECT_NEAR(DarkColumn(slim, shoulder, 100, 160), 130.0, 0.1);
  const Picture narrow = Slimmed(before, lumivex::kSlimShoulder, 1.0f);
  EXPECT_GT(DarkColumn(narrow, shoulder, 100, 160), 132.0);
  EXPECT_NEAR(DarkColumn(narrow, waist, 100, 160), 130.0, 0.1);
}

TEST_F(BodySlimming, OfEveryTypeChangesThePictureAndKeepsItsFrame) {
  Script().faces = {{{160, 60}, 10}};
  const Picture before = Noisy(9);
  for (int32_t type = 0; type < static_cast<int32_t>(lumivex::kSlimTypeCount); ++type) {
    const Picture after = Slimmed(before, LXBodySlimmingType{type}, 1.0f);
    EXPECT_FALSE(after == before) << type;
    EXPECT_TRUE(after.MarginsUntouched()) << type;
    EXPECT_TRUE(Slimmed(before, LXBodySlimmingType{type}, 0.0f) == before) << type;
  }
}

TEST_F(BodySlimming, LengthensTheLegsOfTheRangeWithoutAFace) {
  Picture picture(kWidth, kHeight, {180, 128, 128});
  picture.FillLuma([](int, int y) { return std::abs(y - 150) < 2 ? 20 : 180; });
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setBodySlimmingManualLegHeightRangeAndDir(0.625f, 1.0f, lumivex::kLegsDownwards);
  engine->setBodySlimmingIntensityWithType(lumivex::kSlimLegLength, 1.0f);
  Process(*engine, picture);
  double row = 0.0;
  int count = 0;
  for (int y = 0; y < kHeight; ++y) {
    if (picture.Luma(160, y) < 60) row += y, ++count;
  }
  EXPECT_LT(row / count, 140.0) << "the legs begin higher";
  EXPECT_EQ(Script().runs, 0);
}

TEST_F(BodySlimming, TakesLegsThatLieToTheRight) {
  Picture picture(kWidth, kHeight, {180, 128, 128});
  picture.FillLuma([](int x, int) { return std::abs(x - 200) < 2 ? 20 : 180; });
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setBodySlimmingManualLegHeightRangeAndDir(0.625f, 1.0f, lumivex::kLegsToTheRight);
  engine->setBodySlimmingIntensityWithType(lumivex::kSlimLegLength, 1.0f);
  Process(*engine, picture);
  EXPECT_LT(DarkColumn(picture, 120, 0, kWidth), 190.0);
}

TEST_F(BodySlimming, RefusesARangeThatIsNoneAndKeepsTheFormerOne) {
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setBodySlimmingManualLegHeightRangeAndDir(0.5f, 1.0f, 0);
  engine->setBodySlimmingIntensityWithType(lumivex::kSlimLegLength, 1.0f);
  Picture expected = Noisy();
  Process(*engine, expected);
  const vanta_test::LogCapture log;
  const float nan = std::numeric_limits<float>::quiet_NaN();
  engine->setBodySlimmingManualLegHeightRangeAndDir(0.9f, 0.1f, 0);
  engine->setBodySlimmingManualLegHeightRangeAndDir(-0.1f, 0.5f, 0);
  engine->setBodySlimmingManualLegHeightRangeAndDir(0.1f, 1.5f, 0);
  engine->setBodySlimmingManualLegHeightRangeAndDir(nan, nan, 0);
  EXPECT_EQ(log.CountWith("the range stays as it is"), 4u);
  Picture picture = Noisy();
  Process(*engine, picture);
  EXPECT_TRUE(picture == expected);
}

TEST_F(BodySlimming, TellsItsStatusWhenItChanges) {
  const auto engine = MakeEngine(kWidth, kHeight);
  std::vector<int> told;
  engine->setBodySlimmingStatusCallback([&](LXBodySlimmingStatus status) { told.push_back(status); });
  Picture picture = Noisy();
  Process(*engine, picture);
  EXPECT_TRUE(told.empty());
  engine->setBodySlimmingIntensityWithType(lumivex::kSlimWaist, 0.5f);
  Process(*engine, picture);
  Process(*engine, picture);
  EXPECT_EQ(told, std::vector<int>({lumivex::kSlimmingNoBody}));
  Script().faces = {kFace};
  Process(*engine, picture);
  Process(*engine, picture);
  EXPECT_EQ(told, std::vector<int>({lumivex::kSlimmingNoBody, lumivex::kSlimmingActive}));
  engine->setBodySlimmingIntensityWithType(lumivex::kSlimWaist, 0.0f);
  Process(*engine, picture);
  EXPECT_EQ(told.back(), lumivex::kSlimmingIdle);
  EXPECT_EQ(told.size(), 3u);
}

TEST_F(BodySlimming, BearsACallbackThatThrows) {
  Script().faces = {kFace};
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setBodySlimmingStatusCallback([](LXBodySlimmingStatus) { throw std::runtime_error("no signal"); });
  engine->setBodySlimmingIntensityWithType(lumivex::kSlimWaist, 0.5f);
  const vanta_test::LogCapture log;
  Picture picture = Noisy();
  EXPECT_NE(Process(*engine, picture), nullptr);
  EXPECT_EQ(log.CountWith("[lumivex] the host's callback for body slimming failed: no signal"), 1u);
}

TEST_F(BodySlimming, OfATypeThatDoesNotExistIsSaid) {
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  engine->setBodySlimmingIntensityWithType(LXBodySlimmingType{7}, 1.0f);
  EXPECT_TRUE(log.HasText("[lumivex] no body slimming type 7, types go from 0 to 6"));
}

}  // namespace
}  // namespace lumivex_test
