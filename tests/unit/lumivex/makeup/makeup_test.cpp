// Makeup: folders that are read, laid on faces, mixed with them.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <limits>
#include <nlohmann/json.hpp>
#include <opencv2/imgcodecs.hpp>

#include "fakes/runner/scripted_faces.h"
#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/log_capture.h"

namespace lumivex_test {
namespace {

constexpr int kWidth = 320;
constexpr int kHeight = 240;
const ScriptedFace kFace{{160, 90}, 60};  // the eyes at 130 and 190

class Makeup : public WithScriptedRunner {};

// The eyes lie at 40, 10 and 100, 10 of a picture of 140 by 20: on kFace, its pixels are the frame's.
constexpr char kOnTheEyes[] = R"({"format": 1, "layers": [{"image": "layer.png", "blend": "BLEND",
    "anchors": {"left_eye": [40, 10], "right_eye": [100, 10]}}]})";

std::string Description(const std::string &blend) {
  std::string text = kOnTheEyes;
  return text.replace(text.find("BLEND"), 5, blend);
}

void WritePicture(const std::string &folder, const cv::Scalar &blue_green_red_alpha, int width = 140, int height = 20) {
  cv::imwrite(folder + "/layer.png", cv::Mat(height, width, CV_8UC4, blue_green_red_alpha));
}

// A folder with one layer of one colour.
std::string MakeFolder(const std::string &blend, const cv::Scalar &colour) {
  WriteFile("makeup.json", Description(blend));
  WritePicture(OwnFolder(), colour);
  return OwnFolder();
}

LXMakeupInfo Info(const std::string &folder, const std::string &key = "lips", float intensity = 1.0f,
                  int32_t blend = lumivex::kMakeupBlendOfResource) {
  LXMakeupInfo info{};
  std::strncpy(info.resourceDir, folder.c_str(), sizeof(info.resourceDir) - 1);
  std::strncpy(info.key, key.c_str(), sizeof(info.key) - 1);
  info.word = blend;
  info.intensity = intensity;
  return info;
}

Picture Grey() {
  return Picture(kWidth, kHeight, kGrey);
}

Picture Made(const Picture &before, const LXMakeupInfo &info) {
  const auto engine = MakeEngine(before.Width(), before.Height());
  engine->setMakeupInfo({info});
  Picture picture = before;
  Process(*engine, picture);
  return picture;
}

TEST_F(Makeup, LaysThePictureOnItsAnchors) {
  Script().faces = {kFace};
  const Picture before = Grey();
  const Picture after = Made(before, Info(MakeFolder("normal", {0, 0, 255, 255})));
  // Pure red in BT.601 partial codes, from 90, 80 to 230, 100.
  for (const cv::Point at : {cv::Point(94, 84), cv::Point(160, 90), cv::Point(226, 96)}) {
    EXPECT_NEAR(after.Luma(at.x, at.y), 81, 2) << at;
    EXPECT_NEAR(after.U(at.x, at.y), 90, 2) << at;
    EXPECT_NEAR(after.V(at.x, at.y), 240, 2) << at;
  }
  for (int y = 0; y < kHeight; ++y) {
    for (int x = 0; x < kWidth; ++x) {
      if (x >= 88 && x < 232 && y >= 78 && y < 102) continue;
      ASSERT_EQ(after.Luma(x, y), before.Luma(x, y)) << x << ' ' << y;
      ASSERT_EQ(after.V(x, y), before.V(x, y)) << x << ' ' << y;
    }
  }
}

TEST_F(Makeup, GrowsAndTurnsWithTheFace) {
  Script().faces = {{{160, 120}, 90, 1.5707963f}};
  const Picture after = Made(Grey(), Info(MakeFolder("normal", {0, 0, 255, 255})));
  EXPECT_NEAR(after.Luma(160, 60), 81, 2);
  EXPECT_NEAR(after.Luma(160, 180), 81, 2);
  EXPECT_NEAR(after.Luma(148, 120), 81, 2) << "half of 30 pixels wide";
  EXPECT_EQ(after.Luma(90, 120), kGrey.y);
}

TEST_F(Makeup, OfEveryFaceIsLaidOn) {
  Script().faces = {{{80, 60}, 30}, {{240, 180}, 30}};
  const Picture after = Made(Grey(), Info(MakeFolder("normal", {0, 0, 255, 255})));
  EXPECT_NEAR(after.Luma(80, 60), 81, 2);
  EXPECT_NEAR(after.Luma(240, 180), 81, 2);
}

TEST_F(Makeup, ThatCannotBeSeenLeavesEveryByte) {
  Script().faces = {kFace};
  const Picture before = Grey();
  const std::string folder = MakeFolder("normal", {0, 0, 255, 0});
  EXPECT_TRUE(Made(before, Info(folder)) == before) << "all clear";
  WritePicture(folder, {0, 0, 255, 255});
  EXPECT_TRUE(Made(before, Info(folder, "lips", 0.0f)) == before);
  EXPECT_TRUE(Made(before, Info(folder, "lips", std::numeric_limits<float>::quiet_NaN())) == before);
  Script().faces.clear();
  EXPECT_TRUE(Made(before, Info(folder)) == before) << "no face";
}

TEST_F(Makeup, SwitchedOffLooksForNoFace) {
  Script().faces = {kFace};
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setMakeupInfo({Info(MakeFolder("normal", {0, 0, 255, 255}))});
  engine->setEffectEnabledWithEffectType(lumivex::kEffectMakeup, false);
  Picture picture = Grey();
  Process(*engine, picture);
  EXPECT_TRUE(picture == Grey());
  EXPECT_EQ(Script().runs, 0);
}

TEST_F(Makeup, FollowsItsIntensity) {
  Script().faces = {kFace};
  const std::string folder = MakeFolder("normal", {0, 0, 0, 255});
  const int full = Made(Grey(), Info(folder, "lips", 1.0f)).Luma(160, 90);
  const int half = Made(Grey(), Info(folder, "lips", 0.5f)).Luma(160, 90);
  EXPECT_NEAR(full, 16, 1);
  EXPECT_NEAR(half, (kGrey.y + 16) / 2, 1);
}

TEST_F(Makeup, FollowsTheIntensityOfItsKeyAlone) {
  Script().faces = {kFace};
  const std::string folder = MakeFolder("normal", {0, 0, 0, 255});
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setMakeupInfo({Info(folder, "lips", 1.0f), Info(folder, "eyes", 0.0f)});
  engine->setMakeupIntensityWithKey("lips", 0.0f);
  Picture picture = Grey();
  Process(*engine, picture);
  EXPECT_TRUE(picture == Grey());
  engine->setMakeupIntensityWithKey("eyes", 7.0f);
  Process(*engine, picture);
  EXPECT_NEAR(picture.Luma(160, 90), 16, 1);
  const vanta_test::LogCapture log;
  engine->setMakeupIntensityWithKey("nails", 1.0f);
  EXPECT_TRUE(log.HasText("[lumivex] no makeup has the key 'nails'"));
}

TEST_F(Makeup, BlendsAsItsModeSays) {
  Script().faces = {kFace};
  struct Case {
    const char *blend;
    int picture;   // 0 to 255, opaque
    int expected;  // of a middle grey, 0 to 255
  };
  const Case cases[] = {{"normal", 200, 200},  {"multiply", 255, 128},  {"multiply", 0, 0},   {"multiply", 128, 64},
                        {"screen", 0, 128},    {"screen", 255, 255},    {"screen", 128, 192}, {"soft_light", 128, 128},
                        {"soft_light", 0, 64}, {"soft_light", 255, 191}};
  for (const Case &each : cases) {
    const auto grey = static_cast<double>(each.picture);
    const Picture after = Made(Grey(), Info(MakeFolder(each.blend, {grey, grey, grey, 255})));
    EXPECT_NEAR(after.Luma(160, 90), 16 + each.expected * 219 / 255, 2) << each.blend << ' ' << each.picture;
    EXPECT_NEAR(after.U(160, 90), 128, 1) << each.blend;
  }
}

TEST_F(Makeup, BlendsAsTheHostSaysWhereItDoes) {
  Script().faces = {kFace};
  const std::string folder = MakeFolder("normal", {255, 255, 255, 255});
  EXPECT_NEAR(Made(Grey(), Info(folder)).Luma(160, 90), 235, 1);
  EXPECT_NEAR(Made(Grey(), Info(folder, "", 1.0f, lumivex::kMakeupBlendMultiply)).Luma(160, 90), kGrey.y, 1);
  EXPECT_NEAR(Made(Grey(), Info(folder, "", 1.0f, 99)).Luma(160, 90), 235, 1) << "no mode: as the resource says";
}

TEST_F(Makeup, OnATurnedFrameLiesOnTheTurnedFace) {
  Script().faces = {{{120, 100}, 60}};  // on the upright picture, which is 240 by 320
  const std::string folder = MakeFolder("normal", {0, 0, 255, 255});
  for (const bool flip : {false, true}) {
    const auto engine = MakeEngine(kWidth, kHeight);
    engine->setMakeupInfo({Info(folder)});
    Picture picture = Grey();
    auto frame = picture.Frame();
    frame->rotation = 90;
    frame->flip = flip;
    ASSERT_NE(engine->processFrameData(frame), nullptr);
    // Upright 120, 100 is stored at 100, 120, and at 220, 120 when mirrored.
    const int column = flip ? kWidth - 100 : 100;
    EXPECT_NEAR(picture.V(column, 120), 240, 2) << flip;
    EXPECT_NEAR(picture.V(column, 60), 240, 2) << flip;
    EXPECT_NEAR(picture.V(column, 180), 240, 2) << flip;
    EXPECT_EQ(picture.V(column + 20, 120), 128) << flip;
  }
}

TEST_F(Makeup, KeepsWithinOddPicturesAndTheirMargins) {
  const std::string folder = MakeFolder("soft_light", {30, 60, 255, 200});
  const cv::Point2f places[] = {{0, 0}, {60, 0}, {60, 44}, {-200, 20}, {30, 20}, {1e7f, 1e7f}};
  for (const cv::Size size : {cv::Size(61, 45), cv::Size(1, 1), cv::Size(2, 3)}) {
    for (const cv::Point2f &place : places) {
      Script().faces = {{place, 30, 0.4f}};
      const Picture before(size.width, size.height, kSkin, 5);
      EXPECT_TRUE(Made(before, Info(folder)).MarginsUntouched()) << size << place;
    }
  }
}

TEST_F(Makeup, ShrinksALargePictureWithoutShimmer) {
  Script().faces = {{{160, 120}, 20}};
  // Stripes of one pixel, which at a tenth of their size are an even grey.
  WriteFile("makeup.json", R"({"format": 1, "layers": [{"image": "layer.png",
      "anchors": {"left_eye": [100, 100], "right_eye": [300, 100]}}]})");
  cv::Mat stripes(200, 400, CV_8UC4, cv::Scalar(0, 0, 0, 255));
  for (int x = 0; x < stripes.cols; x += 2) stripes.col(x).setTo(cv::Scalar(255, 255, 255, 255));
  cv::imwrite(OwnFolder() + "/layer.png", stripes);
  const Picture after = Made(Grey(), Info(OwnFolder()));
  EXPECT_LT(after.LumaDeviation(145, 115, 175, 125), 3.0);
  EXPECT_NEAR(after.Luma(160, 120), 126, 3);
}

TEST_F(Makeup, WaitsForTheEndOfABatch) {
  Script().faces = {kFace};
  const auto engine = MakeEngine(kWidth, kHeight);
  Picture picture = Grey();
  engine->beginBatchCommand();
  engine->setMakeupInfo({Info(MakeFolder("normal", {0, 0, 255, 255}))});
  Process(*engine, picture);
  EXPECT_TRUE(picture == Grey());
  engine->endBatchCommand();
  Process(*engine, picture);
  EXPECT_FALSE(picture == Grey());
}

TEST_F(Makeup, GoesWithAnEmptyList) {
  Script().faces = {kFace};
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setMakeupInfo({Info(MakeFolder("normal", {0, 0, 255, 255}))});
  engine->setMakeupInfo({});
  Picture picture = Grey();
  Process(*engine, picture);
  EXPECT_TRUE(picture == Grey());
}

TEST_F(Makeup, ThatIsNoGoodIsOneLineAndTheOthersAreLaidOn) {
  Script().faces = {kFace};
  const std::string folder = MakeFolder("normal", {0, 0, 255, 255});
  const auto engine = MakeEngine(kWidth, kHeight);
  const vanta_test::LogCapture log;
  engine->setMakeupInfo({Info(folder + "/absent"), Info(folder)});
  ASSERT_EQ(log.LinesWith("[lumivex] makeup").size(), 1u);
  EXPECT_EQ(
      log.LinesWith("[lumivex] makeup")[0].text,
      "[lumivex] makeup " + folder + "/absent/makeup.json: it cannot be read; give a folder that holds a makeup.json");
  Picture picture = Grey();
  Process(*engine, picture);
  EXPECT_FALSE(picture == Grey());
}

TEST_F(Makeup, SaysWhatIsWrongWithADescription) {
  struct Case {
    const char *text;
    const char *reason;
  };
  const Case cases[] = {
      {"", "it is no JSON object"},
      {"[]", "it is no JSON object"},
      {"{\"format\": 1", "it is no JSON object"},
      {R"({"layers": []})", "the makeup: \"format\" is missing; it must be 1"},
      {R"({"format": 2, "layers": []})", "the makeup: \"format\" is not 1"},
      {R"({"format": 1})", "\"layers\" is missing or empty"},
      {R"({"format": 1, "layers": {}})", "\"layers\" is no list"},
      {R"({"format": 1, "layer": []})", "\"layer\" is no member of it"},
      {R"({"format": 1, "layers": [{"image": "a", "opacty": 1}]})", "layer 1: \"opacty\" is no member of it"},
      {R"({"format": 1, "layers": [3]})", "layer 1 is no object"},
      {R"({"format": 1, "layers": [{}]})", "layer 1: \"image\" is missing"},
      {R"({"format": 1, "layers": [{"image": "../layer.png"}]})", "\"image\" is no plain file name"},
      {R"({"format": 1, "layers": [{"image": "a", "blend": "glow"}]})", "\"blend\" is none of"},
      {R"({"format": 1, "layers": [{"image": "a", "opacity": 2}]})", "\"opacity\" is not from 0 to 1"},
      {R"({"format": 1, "layers": [{"image": "a"}]})", "\"anchors\" do not name two places or more"},
      {R"({"format": 1, "layers": [{"image": "a", "anchors": {"nose": [1, 1]}}]})", "do not name two places"},
      {R"({"format": 1, "layers": [{"image": "a", "anchors": {"nose": [1, 1], "ear": [2, 2]}}]})",
       "name \"ear\", which is no anchor"},
      {R"({"format": 1, "layers": [{"image": "a", "anchors": {"nose": [1, 1], "chin": [2]}}]})", "no pair of numbers"},
      {R"({"format": 1, "layers": [{"image": "a", "anchors": {"nose": [1, 1], "chin": [2, 1e99]}}]})",
       "no pair of numbers"},
      {R"({"format": 1, "layers": [{"image": "a", "anchors": {"nose": [1, 1], "chin": [1, 1]}}]})", "lie in one place"},
      {R"({"format": 1, "layers": [{"image": "absent.png", "anchors": {"nose": [1, 1], "chin": [1, 9]}}]})",
       "it is no file"},
  };
  const auto engine = MakeEngine();
  for (const Case &each : cases) {
    WriteFile("makeup.json", each.text);
    const vanta_test::LogCapture log;
    engine->setMakeupInfo({Info(OwnFolder())});
    ASSERT_EQ(log.LinesWith("[lumivex]").size(), 1u) << each.text;
    EXPECT_TRUE(log.HasText(each.reason)) << log.LinesWith("[lumivex]")[0].text;
    EXPECT_TRUE(log.HasText(OwnFolder()));
  }
}

TEST_F(Makeup, SaysWhatIsWrongWithAPicture) {
  const std::string folder = MakeFolder("normal", {0, 0, 255, 255});
  const auto engine = MakeEngine();
  const auto says = [&](const char *reason) {
    const vanta_test::LogCapture log;
    engine->setMakeupInfo({});
    engine->setMakeupInfo({Info(folder)});
    return log.LinesWith("[lumivex]").size() == 1 && log.HasText(reason) && log.HasText("layer.png");
  };
  WriteFile("layer.png", "no picture");
  EXPECT_TRUE(says("it is no picture that can be read; save it as a PNG of 8 bits"));
  cv::imwrite(folder + "/layer.png", cv::Mat(8, 8, CV_8UC3, cv::Scalar(1, 2, 3)));
  EXPECT_TRUE(says("it has no alpha, or not 8 bits"));
  cv::imwrite(folder + "/layer.png", cv::Mat(8, 8, CV_16UC4, cv::Scalar(1, 2, 3, 4)));
  EXPECT_TRUE(says("it has no alpha, or not 8 bits"));
  cv::imwrite(folder + "/layer.png", cv::Mat(1, 4097, CV_8UC4, cv::Scalar(1, 2, 3, 4)));
  EXPECT_TRUE(says("it is larger than 4096 pixels a side"));
  std::filesystem::remove(folder + "/layer.png");
  std::filesystem::create_directory(folder + "/layer.png");
  EXPECT_TRUE(says("it is no file"));
}

TEST_F(Makeup, ThatIsNoGoodLeavesWhatItsKeyHas) {
  Script().faces = {kFace};
  const std::string folder = MakeFolder("normal", {0, 0, 255, 255});
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setMakeupInfo({Info(folder)});
  Picture former = Grey();
  Process(*engine, former);
  engine->setMakeupInfo({Info(folder + "/absent")});
  Picture picture = Grey();
  Process(*engine, picture);
  EXPECT_TRUE(picture == former);
  EXPECT_FALSE(picture == Grey());
}

TEST_F(Makeup, ThatIsNoGoodTwiceLeavesWhatItsKeyHasOnce) {
  Script().faces = {kFace};
  const std::string folder = MakeFolder("normal", {0, 0, 255, 255});
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setMakeupInfo({Info(folder, "lips", 0.5f)});
  Picture former = Grey();
  Process(*engine, former);
  engine->setMakeupInfo({Info(folder + "/absent"), Info(folder + "/absent")});
  Picture picture = Grey();
  Process(*engine, picture);
  EXPECT_TRUE(picture == former);
}

TEST_F(Makeup, OfAllFoldersTogetherStaysWithinTheBudget) {
  const std::string large = OwnFolder() + "/large";
  const std::string next = OwnFolder() + "/next";
  for (const std::string &folder : {large, next}) std::filesystem::create_directory(folder);
  constexpr char kTwoLayers[] = R"({"format": 1, "layers": [
      {"image": "layer.png", "anchors": {"left_eye": [40, 10], "right_eye": [100, 10]}},
      {"image": "small.png", "anchors": {"left_eye": [40, 10], "right_eye": [100, 10]}}]})";
  WriteFile("large/makeup.json", kTwoLayers);
  WriteFile("next/makeup.json", Description("normal"));
  WritePicture(large, {0, 0, 255, 0}, 4096, 4096);
  cv::imwrite(large + "/small.png", cv::Mat(8, 8, CV_8UC4, cv::Scalar::all(0)));
  // No more of it than the head, which tells its size.
  std::filesystem::copy_file(large + "/layer.png", next + "/layer.png");
  std::filesystem::resize_file(next + "/layer.png", 33);
  const auto engine = MakeEngine();
  for (const bool anew : {true, false}) {  // and again where the first one is in use
    const vanta_test::LogCapture log;
    engine->setMakeupInfo({Info(large, "one"), Info(next, "two")});
    EXPECT_TRUE(log.HasText("with it the layers have more than 32 million pixels")) << anew;
  }
}

TEST_F(Makeup, BearsTextsWithoutTheirEnd) {
  LXMakeupInfo info{};
  std::memset(info.resourceDir, 'a', sizeof(info.resourceDir));
  std::memset(info.key, 'b', sizeof(info.key));
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  engine->setMakeupInfo({info});
  EXPECT_EQ(log.LinesWith("[lumivex]").size(), 1u);
}

TEST_F(Makeup, OfTheSampleFolderIsGood) {
  Script().faces = {kFace};
  const vanta_test::LogCapture log;
  const Picture after = Made(Picture(kWidth, kHeight, kSkin), Info(LUMIVEX_SAMPLE_DIR "/makeup"));
  EXPECT_TRUE(log.LinesWith("[lumivex] makeup").empty());
  const auto mouth = PointsOf(kFace)[84];  // the lower lip's edge
  EXPECT_GT(after.V(static_cast<int>(mouth.x), static_cast<int>(mouth.y) - 4), kSkin.v + 10);
  EXPECT_EQ(after.V(160, 40), kSkin.v) << "the forehead";
}

TEST_F(Makeup, IsToldInTheDumpText) {
  Script().faces = {kFace};
  const auto engine = MakeEngine(kWidth, kHeight);
  engine->setMakeupInfo({Info(MakeFolder("normal", {0, 0, 255, 255}), "lips", 0.25f)});
  Picture picture = Grey();
  auto frame = picture.Frame();
  frame->dump_flag = 1;
  const auto dump = nlohmann::json::parse(engine->processFrameData(frame)->dump_text);
  EXPECT_EQ(dump["makeup"]["lips"], 0.25);
  EXPECT_TRUE(dump["stages_ms"].contains("makeup"));
}

}  // namespace
}  // namespace lumivex_test
