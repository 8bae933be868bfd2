// Makeup that is a colour on a part of the face.
#include <gtest/gtest.h>

#include <cstring>

#include "fakes/runner/scripted_faces.h"
#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/log_capture.h"
#include "tessera/point_layout.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 320;
const ScriptedFace kFace{{160, 120}, 100};
constexpr char kRed[] = "color:ff0000";

LXMakeupInfo Info(const std::string &color, const std::string &part, float intensity = 1.0f) {
  LXMakeupInfo info{};
  std::strncpy(info.resourceDir, color.c_str(), sizeof(info.resourceDir) - 1);
  std::strncpy(info.key, part.c_str(), sizeof(info.key) - 1);
  info.intensity = intensity;
  return info;
}

Picture Painted(const std::vector<LXMakeupInfo> &makeup, const Picture &before = {kWidth, kHeight, kGrey}) {
  const auto engine = MakeEngine(before.Width(), before.Height());
  engine->setMakeupInfo(makeup);
  Picture picture = before;
  Process(*engine, picture);
  return picture;
}

class MakeupColor : public WithScriptedRunner {
 protected:
  MakeupColor() : points_(PointsOf(kFace)) { Script().raw_faces = {points_}; }

  void OpenMouth(float gap) {
    for (const tessera::PointRange &range : {tessera::kLowerLipOuter, tessera::kLowerLipInner}) {
      for (size_t i = range.first; i <= range.last; ++i) points_[i].y += gap;
    }
    Script().raw_faces = {points_};
  }
  cv::Point At(size_t point) const { return points_[point]; }
  cv::Point Between(size_t one, size_t other) const { return (points_[one] + points_[other]) * 0.5f; }

  std::vector<cv::Point2f> points_;
};

bool IsRed(const Picture &picture, cv::Point at) {
  return picture.V(at.x, at.y) > kGrey.v + 25;
}

bool IsAsItWas(const Picture &picture, cv::Point at) {
  return picture.V(at.x, at.y) == kGrey.v && picture.Luma(at.x, at.y) == kGrey.y;
}

TEST_F(MakeupColor, CoversThePartThatItsKeyNames) {
  const cv::Point upper_lip = Between(tessera::kUpperLipTop, tessera::kUpperLipMiddle);
  const cv::Point cheek(160 - 69, 120 + 56);
  const cv::Point above_lid = At(tessera::kLeftUpperLid.first + 3) + cv::Point(0, -10);
  const cv::Point lashes = At(tessera::kLeftUpperLid.first + 3) + cv::Point(0, -1);
  const cv::Point brow = Between(tessera::kLeftBrowUpper.first + 2, tessera::kLeftBrowLower.first + 2);
  const std::vector<std::pair<std::string, cv::Point>> cases = {
      {"lips", upper_lip}, {"blush", cheek}, {"shadow", above_lid}, {"liner", lashes}, {"brows", brow}};
  for (const auto &[part, place] : cases) {
    const Picture picture = Painted({Info(kRed, part)});
    EXPECT_TRUE(IsRed(picture, place)) << part;
    for (const auto &[other, elsewhere] : cases) {
      const bool lids = (part == "shadow" || part == "liner") && (other == "shadow" || other == "liner");
      if (other == part || lids) continue;
      EXPECT_TRUE(IsAsItWas(picture, elsewhere)) << part << ' ' << other;
    }
    EXPECT_TRUE(IsAsItWas(picture, {160, 40})) << part << ": the forehead";
  }
}

TEST_F(MakeupColor, IsOnBothSides) {
  for (const char *part : {"blush", "shadow", "liner", "brows"}) {
    const Picture picture = Painted({Info(kRed, part)});
    int left = 0;
    int right = 0;
    for (int y = 0; y < kHeight; ++y) {
      for (int x = 0; x < kWidth; ++x) (x < 160 ? left : right) += picture.V(x, y) > kGrey.v + 10;
    }
    EXPECT_GT(left, 40) << part;
    EXPECT_NEAR(left, right, 0.12 * left) << part;
  }
}

TEST_F(MakeupColor, OfTheLipsLeavesAnOpenMouth) {
  OpenMouth(30);
  const Picture picture = Painted({Info(kRed, "lips")});
  const cv::Point gap = Between(tessera::kUpperLipMiddle, tessera::kLowerLipMiddle);
  EXPECT_TRUE(IsAsItWas(picture, gap));
  EXPECT_TRUE(IsRed(picture, Between(tessera::kLowerLipMiddle, tessera::kLowerLipBottom)));
  EXPECT_TRUE(IsRed(picture, Between(tessera::kUpperLipTop, tessera::kUpperLipMiddle)));
}

TEST_F(MakeupColor, OfClosedLipsGoesThroughBetweenThem) {
  EXPECT_TRUE(IsRed(Painted({Info(kRed, "lips")}), Between(tessera::kUpperLipMiddle, tessera::kLowerLipMiddle)));
}

TEST_F(MakeupColor, OfTheLidsLeavesTheOpenEye) {
  const cv::Point below_lid = At(tessera::kLeftUpperLid.first + 3) + cv::Point(0, 5);
  EXPECT_TRUE(IsAsItWas(Painted({Info(kRed, "shadow")}), below_lid));
  EXPECT_TRUE(IsAsItWas(Painted({Info(kRed, "liner")}), At(tessera::kLeftPupil) + cv::Point(0, 2)));
}

TEST_F(MakeupColor, FollowsEachPointByItself) {
  const cv::Point corner = At(tessera::kMouthLeftCorner);
  // A smile on one side.
  points_[tessera::kMouthLeftCorner].y -= 20;
  points_[tessera::kMouthLeftCorner + 1].y -= 8;
  points_[tessera::kUpperLipInner.first].y -= 20;
  Script().raw_faces = {points_};
  const Picture picture = Painted({Info(kRed, "lips")});
  EXPECT_TRUE(IsRed(picture, At(tessera::kMouthLeftCorner) + cv::Point(6, 2)));
  EXPECT_TRUE(IsAsItWas(picture, corner + cv::Point(-2, 3)));
  EXPECT_TRUE(IsRed(picture, At(tessera::kMouthRightCorner) + cv::Point(-8, 0))) << "the other one stays";
}

TEST_F(MakeupColor, FadesAtItsEdge) {
  const Picture picture = Painted({Info(kRed, "lips")});
  const cv::Point bottom = At(tessera::kLowerLipBottom);
  int steps = 0;
  for (int y = bottom.y - 10; y < bottom.y + 10; ++y) {
    const int change = picture.Luma(bottom.x, y) - picture.Luma(bottom.x, y + 1);
    EXPECT_LT(std::abs(change), 12) << y;
    steps += change != 0;
  }
  EXPECT_GE(steps, 3);
}

TEST_F(MakeupColor, FollowsItsIntensity) {
  const cv::Point lip = Between(tessera::kUpperLipTop, tessera::kUpperLipMiddle);
  const int full = Painted({Info(kRed, "lips")}).V(lip.x, lip.y) - kGrey.v;
  const int half = Painted({Info(kRed, "lips", 0.5f)}).V(lip.x, lip.y) - kGrey.v;
  EXPECT_NEAR(half, full / 2, 2);
  EXPECT_TRUE(Painted({Info(kRed, "lips", 0.0f)}) == Picture(kWidth, kHeight, kGrey));
}

TEST_F(MakeupColor, OfOneColourMayBeOnSeveralParts) {
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setMakeupInfo({Info(kRed, "lips")});
  engine->setMakeupInfo({Info(kRed, "lips"), Info(kRed, "brows")});
  Picture picture(kWidth, kHeight, kGrey);
  Process(*engine, picture);
  EXPECT_TRUE(IsRed(picture, Between(tessera::kUpperLipTop, tessera::kUpperLipMiddle)));
  EXPECT_TRUE(IsRed(picture, Between(tessera::kLeftBrowUpper.first + 2, tessera::kLeftBrowLower.first + 2)));
}

TEST_F(MakeupColor, LooksForFaces) {
  Painted({Info(kRed, "lips")});
  EXPECT_EQ(Script().runs, 1);
}

TEST_F(MakeupColor, ThatIsNoGoodIsOneLine) {
  const auto engine = MakeEngine(kWidth, kHeight);
  const vanta_test::LogCapture log;
  engine->setMakeupInfo({Info("color:ff00", "lips"), Info("color:ff00zz", "lips"), Info(kRed, "ears")});
  EXPECT_EQ(log.LinesWith("[lumivex] makeup").size(), 3u);
  EXPECT_TRUE(
      log.HasText("[lumivex] makeup color:ff00: it is no colour; write color:RRGGBB with six hexadecimal digits"));
  EXPECT_TRUE(
      log.HasText("[lumivex] makeup color:ff0000: its key 'ears' is no part of a face; the parts are lips, "
                  "blush, shadow, liner, brows"));
}

TEST_F(MakeupColor, KeepsWithinOddPicturesAndTheirMargins) {
  std::vector<LXMakeupInfo> all;
  for (const auto &part : lumivex::kMakeupParts) all.push_back(Info(kRed, std::string(part.name)));
  const ScriptedFace faces[] = {{{0, 0}, 30},        {{60, 44}, 30, 0.4f}, {{30, -40}, 40},      {{30, 20}, 3},
                                {{1e7f, -1e7f}, 50}, {{30, 20}, 1e6f},     {{30, 20}, 400, 2.0f}};
  for (const cv::Size size : {cv::Size(61, 45), cv::Size(1, 1), cv::Size(2, 3)}) {
    for (const ScriptedFace &face : faces) {
      Script().raw_faces = {PointsOf(face)};
      EXPECT_TRUE(Painted(all, Picture(size.width, size.height, kSkin, 5)).MarginsUntouched()) << size << face.eyes;
    }
  }
}

}  // namespace
}  // namespace lumivex_test
