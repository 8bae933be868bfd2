#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "fixtures/lumivex/engine_fixture.h"
#include "lumivex/lumivex_control.h"

namespace lumivex_test {
namespace {

using nlohmann::json;

TEST(Stats, CountFramesAndStages) {
  const auto engine = MakeEngine();
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.5f);
  engine->setBeautyIntensityWithType(lumivex::kBeautySharpen, 0.5f);
  Picture skin(64, 64, kSkin);
  Picture blue(64, 64, kBlue);
  Process(*engine, skin);
  Process(*engine, skin);
  Process(*engine, blue);
  engine->processFrameData(nullptr);
  const json stats = json::parse(engine->getStats());
  EXPECT_EQ(stats["engine"], "lumivex");
  EXPECT_EQ(stats["frames"], 3);
  EXPECT_EQ(stats["failed"], 1);
  EXPECT_EQ(stats["stages"]["skin"]["frames"], 3);
  EXPECT_EQ(stats["stages"]["beauty"]["frames"], 2) << "the blue frame has no skin";
  EXPECT_EQ(stats["skin_frames"], 2);
  EXPECT_EQ(stats["stages"]["sharpen"]["frames"], 3);
  EXPECT_FALSE(stats["stages"].contains("lookup"));
  EXPECT_GE(stats["beauty"]["max_ms"].get<double>(), stats["beauty"]["mean_ms"].get<double>());
}

TEST(Stats, StartAgainWhenCleared) {
  const auto engine = MakeEngine();
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.5f);
  Picture skin(64, 64, kSkin);
  Process(*engine, skin);
  engine->processFrameData(nullptr);
  engine->clearStats();
  const json stats = json::parse(engine->getStats());
  EXPECT_EQ(stats["frames"], 0);
  EXPECT_EQ(stats["failed"], 0);
  EXPECT_EQ(stats["skin_frames"], 0);
  EXPECT_EQ(stats["beauty"]["max_ms"], 0.0);
  EXPECT_TRUE(stats["stages"].empty());
}

TEST(Stats, AreCompactAndHaveNoPerCentSign) {
  const auto engine = MakeEngine();
  Picture skin(64, 64, kSkin);
  Process(*engine, skin);
  std::string vision;
  engine->getTesseraStat(vision);
  for (const std::string &text : {engine->getStats(), vision}) {
    EXPECT_EQ(text.find('%'), std::string::npos) << text;
    EXPECT_EQ(text.find('\n'), std::string::npos) << text;
    EXPECT_EQ(json::parse(text).dump().size(), text.size());
  }
}

TEST(Delays, AreTheFramesOwn) {
  const auto engine = MakeEngine();
  Picture picture(640, 360, kSkin);
  auto frame = Process(*engine, picture);
  EXPECT_EQ(frame->tessera_ms, 0.0f);
  EXPECT_GT(frame->beauty_ms, 0.0f);
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.5f);
  frame = Process(*engine, picture);
  EXPECT_GT(frame->tessera_ms, 0.0f) << "skin is learned from faces";
  const json stats = json::parse(engine->getStats());
  EXPECT_GE(frame->beauty_ms, stats["stages"]["skin"]["max_ms"].get<double>());
}

TEST(DumpText, TellsWhatWasApplied) {
  const auto engine = MakeEngine();
  SetGroup(*engine, "jingdian");
  engine->setBeautyIntensityWithType(lumivex::kBeautySmooth, 0.7f);
  engine->setNaturalityIntensity(0.25f);
  Picture picture(64, 48, kSkin);
  auto frame = picture.Frame(3);
  frame->dump_flag = 1;
  frame->rotation = 90;
  frame->flip = 1;
  frame->timestamp = 123456789012345;
  frame = engine->processFrameData(frame);
  ASSERT_NE(frame, nullptr);
  const json dump = json::parse(frame->dump_text);
  EXPECT_EQ(dump["frame"]["width"], 64);
  EXPECT_EQ(dump["frame"]["height"], 48);
  EXPECT_EQ(dump["frame"]["rotation"], 90);
  EXPECT_EQ(dump["frame"]["flip"], true);
  EXPECT_EQ(dump["frame"]["color_code"], 3);
  EXPECT_EQ(dump["frame"]["timestamp"], 123456789012345);
  EXPECT_EQ(dump["group"], "jingdian");
  EXPECT_EQ(dump["beauty"]["smooth"], 0.7);
  EXPECT_EQ(dump["naturality"], 0.25);
  EXPECT_TRUE(dump["stages_ms"].contains("beauty"));
  EXPECT_FALSE(dump["stages_ms"].contains("sharpen"));
  EXPECT_GT(dump["beauty_ms"].get<double>(), 0.0);
}

TEST(DumpText, IsEmptyOnFramesWithoutAMark) {
  const auto engine = MakeEngine();
  Picture picture(16, 16, kSkin);
  EXPECT_TRUE(Process(*engine, picture)->dump_text.empty());
}

TEST(DumpText, SurvivesNamesThatAreNoUtf8) {
  const std::string path =
      WriteFile("na\xffme.cube", "LUT_3D_SIZE 2\n0 0 0\n1 0 0\n0 1 0\n1 1 0\n0 0 1\n1 0 1\n0 1 1\n1 1 1\n");
  const auto engine = MakeEngine();
  SetLookup(*engine, path);
  Picture picture(16, 16, kSkin);
  auto frame = picture.Frame();
  frame->dump_flag = 1;
  frame = engine->processFrameData(frame);
  ASSERT_NE(frame, nullptr);
  EXPECT_TRUE(json::parse(frame->dump_text)["lookup"]["name"].is_string());
}

}  // namespace
}  // namespace lumivex_test
