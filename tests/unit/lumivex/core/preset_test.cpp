#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/log_capture.h"

namespace lumivex_test {
namespace {

namespace fs = std::filesystem;

// What the engine has taken over, from its own report.
nlohmann::json Applied(LX::LumivexSync &engine) {
  Picture picture(16, 16, kGrey);
  auto frame = picture.Frame();
  frame->dump_flag = 1;
  frame = engine.processFrameData(frame);
  return nlohmann::json::parse(frame->dump_text);
}

double Value(LX::LumivexSync &engine, const char *name) {
  return Applied(engine)["beauty"][name].get<double>();
}

TEST(Preset, EveryOneThatComesWithTheModuleIsTakenOver) {
  int count = 0;
  for (const auto &entry : fs::directory_iterator(fs::path(LUMIVEX_DATA_DIR) / "presets")) {
    const auto engine = MakeEngine();
    const vanta_test::LogCapture log;
    SetGroup(*engine, entry.path().stem().string());
    EXPECT_TRUE(log.LinesWith("[lumivex]").empty()) << entry.path();
    EXPECT_EQ(Applied(*engine)["group"], entry.path().stem().string());
    ++count;
  }
  EXPECT_GE(count, 4);
}

TEST(Preset, EveryGroupThatComesWithTheModuleIsTakenOver) {
  int count = 0;
  for (const auto &entry : fs::directory_iterator(fs::path(LUMIVEX_DATA_DIR) / "groups")) {
    const auto engine = MakeEngine();
    const vanta_test::LogCapture log;
    SetGroup(*engine, entry.path().filename().string(), true);
    EXPECT_TRUE(log.LinesWith("[lumivex]").empty()) << entry.path();
    EXPECT_EQ(Applied(*engine)["group"], entry.path().filename().string());
    ++count;
  }
  EXPECT_GE(count, 1);
}

TEST(Preset, OfTheStartIsMildAndTouchesOnlySkin) {
  const auto engine = MakeEngine();
  SetGroup(*engine, "jingdian");
  Picture skin(64, 64, kSkin);
  Process(*engine, skin);
  EXPECT_GT(skin.MeanLuma(), kSkin.y + 1);
  EXPECT_LT(skin.MeanLuma(), kSkin.y + 12);
  const Picture before(64, 64, kBlue);
  Picture blue = before;
  Process(*engine, blue);
  EXPECT_TRUE(blue == before);
}

TEST(Preset, SetsEveryBeautyValue) {
  const auto engine = MakeEngine();
  engine->setBeautyIntensityWithType(lumivex::kBeautySharpen, 0.9f);
  SetGroup(*engine, WriteFile("own.json", R"({"format": 1, "beauty": {"smooth": 0.25, "contrast": -0.5}})"));
  EXPECT_NEAR(Value(*engine, "smooth"), 0.25, 1e-4);
  EXPECT_NEAR(Value(*engine, "contrast"), -0.5, 1e-4);
  EXPECT_EQ(Value(*engine, "sharpen"), 0.0) << "what a preset does not name is off";
}

TEST(Preset, IsTheGroundForLaterIntensities) {
  const auto engine = MakeEngine();
  SetGroup(*engine, "baixi");
  const double whiten = Value(*engine, "whiten");
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.05f);
  EXPECT_NEAR(Value(*engine, "smooth"), 0.05, 1e-4);
  EXPECT_EQ(Value(*engine, "whiten"), whiten);
  EXPECT_GT(whiten, 0.0);
}

TEST(Preset, ValuesAreClampedToTheirRange) {
  const auto engine = MakeEngine();
  SetGroup(*engine, WriteFile("own.json", R"({"format": 1, "beauty": {"smooth": 7, "brightness": -3}})"));
  EXPECT_EQ(Value(*engine, "smooth"), 1.0);
  EXPECT_EQ(Value(*engine, "brightness"), -1.0);
}

TEST(Group, AppliesItsMembersInOrder) {
  WriteFile("look/first.json", R"({"format": 1, "beauty": {"smooth": 0.2, "whiten": 0.4}})");
  WriteFile("look/second.json", R"({"format": 1, "beauty": {"smooth": 0.6}})");
  WriteFile("look/group.json", R"({"format": 1, "presets": ["first.json", "second.json"]})");
  const auto engine = MakeEngine();
  SetGroup(*engine, OwnFolder() + "/look", true);
  EXPECT_NEAR(Value(*engine, "smooth"), 0.6, 1e-4);
  EXPECT_NEAR(Value(*engine, "whiten"), 0.4, 1e-4);
}

TEST(Group, MayNamePresetsThatComeWithTheModule) {
  const auto engine = MakeEngine();
  SetGroup(*engine, WriteFile("own.json", R"({"format": 1, "presets": ["jingdian"]})"));
  const auto other = MakeEngine();
  SetGroup(*other, "jingdian");
  EXPECT_EQ(Applied(*engine)["beauty"], Applied(*other)["beauty"]);
  EXPECT_GT(Value(*engine, "smooth"), 0.0);
}

TEST(Group, ThatHoldsItselfIsRefused) {
  const std::string path = WriteFile("own.json", R"({"format": 1, "presets": ["own.json"]})");
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  SetGroup(*engine, path);
  EXPECT_TRUE(log.HasText("groups stand too deep in one another"));
}

TEST(Group, ThatLeadsToTooManyFilesIsRefused) {
  std::string members = "\"jingdian\"";
  for (int i = 0; i < 299; ++i) members += ", \"jingdian\"";
  const std::string path = WriteFile("many.json", R"({"format": 1, "presets": [)" + members + "]}");
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  SetGroup(*engine, path);
  EXPECT_EQ(log.CountWith("it leads to more than 256 files"), 1u);
}

struct BrokenPreset {
  const char *text;
  const char *reason;
};

class BrokenPresets : public ::testing::TestWithParam<BrokenPreset> {};

TEST_P(BrokenPresets, AreOneLogLineAndBeautyStays) {
  const auto engine = MakeEngine();
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.3f);
  const std::string path = WriteFile("broken.json", GetParam().text);
  const vanta_test::LogCapture log;
  SetGroup(*engine, path);
  const auto lines = log.LinesWith("[lumivex]");
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_NE(lines[0].text.find(GetParam().reason), std::string::npos) << lines[0].text;
  EXPECT_NE(lines[0].text.find(path), std::string::npos) << lines[0].text;
  EXPECT_NEAR(Value(*engine, "smooth"), 0.3, 1e-4);
}

INSTANTIATE_TEST_SUITE_P(
    Files, BrokenPresets,
    ::testing::Values(BrokenPreset{"", "it is no JSON object"}, BrokenPreset{"[1]", "it is no JSON object"},
                      BrokenPreset{"{", "it is no JSON object"},
                      BrokenPreset{R"({"beauty": {}})", "\"format\" is missing; it must be 1"},
                      BrokenPreset{R"({"format": 2, "beauty": {}})", "the preset: \"format\" is not 1"},
                      BrokenPreset{R"({"format": 1})", "\"beauty\" is missing, and \"presets\" too"},
                      BrokenPreset{R"({"format": 1, "beauty": 3})", "\"beauty\" is no object"},
                      BrokenPreset{R"({"format": 1, "beauty": {"smoth": 1}})", "\"smoth\" is no beauty type"},
                      BrokenPreset{R"({"format": 1, "beauty": {"smooth": "1"}})", "\"smooth\" is no number"},
                      BrokenPreset{R"({"format": 1, "presets": "jingdian"})", "\"presets\" is no list"},
                      BrokenPreset{R"({"format": 1, "presets": [1]})", "holds more than names"}));

TEST(Preset, ThatDoesNotExistIsOneLogLine) {
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  SetGroup(*engine, "no such preset");
  EXPECT_EQ(log.CountWith("it cannot be read"), 1u);
}

TEST(Preset, WithoutANameChangesNothing) {
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  SetGroup(*engine, "");
  EXPECT_TRUE(log.LinesWith("[lumivex]").empty());
}

TEST(Preset, WhoseTextFillsItsArrayIsReadToTheArraysEnd) {
  const auto engine = MakeEngine();
  LXGroupConfig config{};
  std::fill(std::begin(config.path), std::end(config.path), 'x');
  const vanta_test::LogCapture log;
  engine->setBeautyGroupPath(config);
  EXPECT_EQ(log.CountWith("it cannot be read"), 1u);
}

}  // namespace
}  // namespace lumivex_test
