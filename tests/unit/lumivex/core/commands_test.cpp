#include <gtest/gtest.h>

#include <limits>

#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/log_capture.h"

namespace lumivex_test {
namespace {

Picture After(LX::LumivexSync &engine, const Picture &original) {
  Picture picture = original;
  Process(engine, picture);
  return picture;
}

TEST(Commands, WithoutAnyThePictureStaysByteForByte) {
  Picture before(97, 61, kSkin, 7);
  before.FillLuma([](int x, int y) { return 120 + Noise(x, y, 90); });
  const auto engine = MakeEngine();
  EXPECT_TRUE(After(*engine, before) == before);
}

TEST(Commands, EveryIntensityOfNothingLeavesThePictureByteForByte) {
  Picture before(64, 64, kSkin);
  before.FillLuma([](int x, int y) { return 120 + Noise(x, y, 90); });
  const auto engine = MakeEngine();
  SetGroup(*engine, "jingdian");
  for (const auto &info : lumivex::kBeautyTypes) engine->setBeautyIntensityWithType(info.type, 0.0f);
  EXPECT_TRUE(After(*engine, before) == before);
}

TEST(Commands, EveryBeautyTypeChangesThePicture) {
  Picture before(64, 64, kSkin);
  before.FillLuma([](int x, int y) { return 120 + Noise(x, y, 8) + (x < 32 ? 20 : 0); });
  for (const auto &info : lumivex::kBeautyTypes) {
    if (info.type > lumivex::kBeautyRelight) continue;  // these need a face
    EXPECT_FALSE(With(before, info.type, info.maximum) == before) << info.name;
    EXPECT_TRUE(With(before, info.type, info.maximum * 10) == With(before, info.type, info.maximum)) << info.name;
  }
}

TEST(Commands, BeautyTypesAreFoundByName) {
  for (const auto &info : lumivex::kBeautyTypes) EXPECT_EQ(lumivex::FindBeautyType(info.name), &info);
  EXPECT_EQ(lumivex::FindBeautyType("Smooth"), nullptr);
  EXPECT_EQ(lumivex::FindBeautyType(""), nullptr);
  for (size_t i = 0; i < lumivex::kBeautyTypeCount; ++i) {
    EXPECT_EQ(static_cast<size_t>(lumivex::kBeautyTypes[i].type), i);
  }
}

TEST(Commands, NotANumberIsOff) {
  const Picture before(64, 64, kSkin);
  EXPECT_TRUE(With(before, lumivex::kBeautyWhiten, std::numeric_limits<float>::quiet_NaN()) == before);
}

TEST(Commands, UnknownTypesAreALogLine) {
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  engine->setBeautyIntensityWithType(LXBeautyType{99}, 1.0f);
  engine->setBeautyIntensityWithType(LXBeautyType{-1}, 1.0f);
  engine->setEffectEnabledWithEffectType(LXEffectType{99}, true);
  EXPECT_EQ(log.CountWith("no beauty type"), 2u);
  EXPECT_EQ(log.CountWith("no effect type 99"), 1u);
}

TEST(Commands, SwitchedOffStagesLeaveThePicture) {
  Picture before(64, 64, kSkin);
  before.FillLuma([](int x, int y) { return 120 + Noise(x, y, 8); });
  const struct {
    LXEffectType stage;
    LXBeautyType type;
  } rows[] = {{lumivex::kEffectBeauty, lumivex::kBeautySmooth},     {lumivex::kEffectBeauty, lumivex::kBeautyWhiten},
              {lumivex::kEffectBeauty, lumivex::kBeautyRuddy},      {lumivex::kEffectAdjust, lumivex::kBeautySharpen},
              {lumivex::kEffectAdjust, lumivex::kBeautyBrightness}, {lumivex::kEffectAdjust, lumivex::kBeautyContrast},
              {lumivex::kEffectRelight, lumivex::kBeautyRelight}};
  for (const auto &row : rows) {
    const auto engine = MakeEngine();
    engine->setBeautyIntensityWithType(row.type, 0.8f);
    engine->setEffectEnabledWithEffectType(row.stage, false);
    EXPECT_TRUE(After(*engine, before) == before) << row.type;
    engine->setEffectEnabledWithEffectType(row.stage, true);
    EXPECT_FALSE(After(*engine, before) == before) << row.type;
  }
}

TEST(Commands, ASwitchedOffLookupLeavesThePicture) {
  const auto engine = MakeEngine();
  SetLookup(*engine,
            WriteFile("black.cube", "LUT_3D_SIZE 2\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n"));
  const Picture before(16, 16, kSkin);
  engine->setEffectEnabledWithEffectType(lumivex::kEffectLookup, false);
  EXPECT_TRUE(After(*engine, before) == before);
  engine->setEffectEnabledWithEffectType(lumivex::kEffectLookup, true);
  EXPECT_NEAR(After(*engine, before).Luma(8, 8), 16, 1);
}

TEST(Naturality, WeakensSkinEffectsAndNoOthers) {
  const Picture skin(64, 64, kSkin);
  const auto engine = MakeEngine();
  engine->setBeautyIntensityWithType(lumivex::kBeautyWhiten, 0.6f);
  const double full = After(*engine, skin).MeanLuma() - kSkin.y;
  engine->setNaturalityIntensity(0.5f);
  const double half = After(*engine, skin).MeanLuma() - kSkin.y;
  engine->setNaturalityIntensity(1.0f);
  const double least = After(*engine, skin).MeanLuma() - kSkin.y;
  EXPECT_GT(full, half + 1);
  EXPECT_GT(half, least + 1);
  EXPECT_GT(least, 1);

  const Picture grey(64, 64, kGrey);
  const auto other = MakeEngine();
  other->setBeautyIntensityWithType(lumivex::kBeautyBrightness, 0.5f);
  const Picture before = After(*other, grey);
  other->setNaturalityIntensity(1.0f);
  EXPECT_TRUE(After(*other, grey) == before);
}

TEST(Batch, AppliesNothingBeforeItsEnd) {
  const Picture before(64, 64, kSkin);
  const auto engine = MakeEngine();
  engine->beginBatchCommand();
  engine->setBeautyIntensityWithType(lumivex::kBeautyWhiten, 0.5f);
  engine->setBeautyIntensityWithType(lumivex::kBeautyBrightness, 0.5f);
  SetGroup(*engine, "jingdian");
  engine->setBeautyIntensityWithType(lumivex::kBeautyBrightness, 0.25f);
  EXPECT_TRUE(After(*engine, before) == before);
  engine->endBatchCommand();

  const auto direct = MakeEngine();
  SetGroup(*direct, "jingdian");
  direct->setBeautyIntensityWithType(lumivex::kBeautyBrightness, 0.25f);
  EXPECT_TRUE(After(*engine, before) == After(*direct, before));
}

TEST(Batch, HoldsEveryKindOfCommandBack) {
  const Picture before(64, 64, {120, 80, 70});
  const auto engine = MakeEngine();
  engine->beginBatchCommand();
  engine->setEffectEnabledWithEffectType(lumivex::kEffectGreenMatting, true);
  SetLookup(*engine,
            WriteFile("black.cube", "LUT_3D_SIZE 2\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n0 0 0\n"));
  engine->setLookupIntensity(0.5f);
  engine->setNaturalityIntensity(0.5f);
  EXPECT_TRUE(After(*engine, before) == before);
  engine->endBatchCommand();
  EXPECT_FALSE(After(*engine, before) == before);
}

TEST(Batch, EndsWithTheOutermostOfNestedOnes) {
  const Picture before(64, 64, kSkin);
  const auto engine = MakeEngine();
  engine->beginBatchCommand();
  engine->beginBatchCommand();
  engine->setBeautyIntensityWithType(lumivex::kBeautyWhiten, 0.5f);
  engine->endBatchCommand();
  EXPECT_TRUE(After(*engine, before) == before);
  engine->endBatchCommand();
  EXPECT_FALSE(After(*engine, before) == before);
}

TEST(Batch, AnUnpairedEndDoesNoHarm) {
  const Picture before(64, 64, kSkin);
  const auto engine = MakeEngine();
  engine->endBatchCommand();
  engine->endBatchCommand();
  engine->beginBatchCommand();
  engine->setBeautyIntensityWithType(lumivex::kBeautyWhiten, 0.5f);
  EXPECT_TRUE(After(*engine, before) == before) << "the batch that follows still counts";
  engine->endBatchCommand();
  EXPECT_FALSE(After(*engine, before) == before);
}

TEST(Commands, ThatStopNothingSayNothing) {
  const auto engine = MakeEngine();
  const vanta_test::LogCapture log;
  engine->cancelMagicEffect();
  engine->unloadInteractiveBoxResource();
  engine->setMediaResource({kMediaTypeSkipEngine, ""});
  engine->setMediaResource({lumivex::kMediaNone, ""});
  engine->setModelPathDic({{"key", "folder"}});
  engine->setModelRootPath("folder");
  LX::setDebugAlertMode(0);
  Lumivex::destroyGLFWWindow(nullptr);
  EXPECT_TRUE(log.LinesWith("[lumivex]").empty());
}

TEST(Callbacks, AreLetGoWithTheEngine) {
  auto token = std::make_shared<int>(1);
  auto engine = MakeEngine();
  engine->setTesseraCpuDataFunc([token](auto) {});
  engine->setTesseraUploadStatsCallBack([token](const std::string &) {}, "");
  engine->setTesseraPostReportCallBack([token](const std::string &, const std::string &) {});
  engine->setTesseraLogCallBack([token](const std::string &, const std::string &) {});
  engine->setGameDataCallback([token](const LX::BoomGameData &) {});
  engine->setBodySlimmingStatusCallback([token](LXBodySlimmingStatus) {});
  engine->setEffectDescriptionCallback([token](const std::string &, bool) {});
  EXPECT_EQ(token.use_count(), 8);
  engine.reset();
  EXPECT_EQ(token.use_count(), 1);
}

}  // namespace
}  // namespace lumivex_test
