// Who makes the engine look for faces, and when it stops.
#include <gtest/gtest.h>

#include <cstring>
#include <nlohmann/json.hpp>

#include "fakes/runner/scripted_faces.h"
#include "fixtures/lumivex/engine_fixture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/landmark/tessera_api.h"
#include "vanta_host.h"

namespace lumivex_test {
namespace {

constexpr char kOnANose[] = R"({"format": 1, "layers": [{"text": "x", "anchor": "nose"}]})";

// An engine whose host listens, as the module always does.
class FaceNeed : public WithScriptedRunner {
 protected:
  using CpuData = std::map<std::string, std::shared_ptr<tessera::Any>>;

  FaceNeed() {
    vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, false);
    Script().faces = {{{160, 100}, 60}};
    engine_->setTesseraCpuDataFunc([this](const std::shared_ptr<CpuData> &given) {
      ++told_;
      last_ = std::static_pointer_cast<tessera::TesseraOut>(given->at("landmarks")->payload);
    });
  }
  ~FaceNeed() override { vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, false); }

  // Frames a second apart, so that no look is put off. How many of them the runner saw.
  int Looks(int frames = 3) {
    const int before = Script().runs;
    for (int i = 0; i < frames; ++i) {
      auto frame = picture_.Frame();
      frame->timestamp = now_ += 1'000'000'000;
      EXPECT_NE(engine_->processFrameData(frame), nullptr);
    }
    return Script().runs - before;
  }

  std::shared_ptr<LX::LumivexSync> engine_ = MakeEngine(320, 240);
  Picture picture_{320, 240, kSkin};
  uint64_t now_ = 0;
  int told_ = 0;
  std::shared_ptr<tessera::TesseraOut> last_;
};

TEST_F(FaceNeed, SkinLooksWhileAnythingOfItIsOn) {
  for (const LXBeautyType type :
       {lumivex::kBeautySmooth, lumivex::kBeautyWhiten, lumivex::kBeautyRuddy, lumivex::kBeautyEvenTone,
        lumivex::kBeautySpots, lumivex::kBeautyDarkCircles, lumivex::kBeautySmileLines, lumivex::kBeautyBrightEyes,
        lumivex::kBeautyWhiteTeeth, lumivex::kBeautyRelight}) {
    engine_->setBeautyIntensityWithType(type, 0.5f);
    EXPECT_EQ(Looks(1), 1);
    engine_->setBeautyIntensityWithType(type, 0.0f);
    EXPECT_EQ(Looks(1), 0);
  }
}

TEST_F(FaceNeed, ColoursNeverLook) {
  for (int type = 0; type < static_cast<int>(lumivex::kBeautyTypeCount); ++type)
    engine_->setBeautyIntensityWithType(LXBeautyType(type), 0.5f);
  engine_->setEffectEnabledWithEffectType(lumivex::kEffectBeauty, false);
  engine_->setEffectEnabledWithEffectType(lumivex::kEffectRelight, false);
  engine_->setEffectEnabledWithEffectType(lumivex::kEffectGreenMatting, true);
  EXPECT_EQ(Looks(), 0);
  EXPECT_EQ(Script().created, 0) << "not even a runner";
  EXPECT_EQ(told_, 0);
}

TEST_F(FaceNeed, DeformationLooksWhileItIsOn) {
  engine_->setDeformIntensityWithMode(lumivex::kDeformEyeSize, 0.5f);
  EXPECT_EQ(Looks(), 3);
  engine_->setDeformIntensityWithMode(lumivex::kDeformEyeSize, 0.0f);
  EXPECT_EQ(Looks(), 0);
}

TEST_F(FaceNeed, DeformationThatIsSwitchedOffAsAStageDoesNotLook) {
  engine_->setDeformIntensityWithMode(lumivex::kDeformEyeSize, 0.5f);
  engine_->setEffectEnabledWithEffectType(lumivex::kEffectDeform, false);
  EXPECT_EQ(Looks(), 0);
}

TEST_F(FaceNeed, BodySlimmingLooksWhileItIsOn) {
  engine_->setBodySlimmingIntensityWithType(lumivex::kSlimWaist, 0.5f);
  EXPECT_EQ(Looks(), 3);
  engine_->setBodySlimmingIntensityWithType(lumivex::kSlimWaist, 0.0f);
  EXPECT_EQ(Looks(), 0);
}

TEST_F(FaceNeed, MakeupLooksWhileItIsOn) {
  LXMakeupInfo info{};
  std::strncpy(info.resourceDir, LUMIVEX_SAMPLE_DIR "/makeup", sizeof(info.resourceDir) - 1);
  std::strncpy(info.key, "lips", sizeof(info.key) - 1);
  info.intensity = 0.5f;
  engine_->setMakeupInfo({info});
  EXPECT_EQ(Looks(), 3);
  engine_->setMakeupIntensityWithKey("lips", 0.0f);
  EXPECT_EQ(Looks(), 0);
}

TEST_F(FaceNeed, EffectOnFacesLooksWhileItPlays) {
  WriteFile("effect.json", kOnANose);
  int loaded = 0;
  engine_->setEffectDescriptionCallback([&](const std::string &, bool success) { loaded += success; });
  engine_->setMagicEffectWithPath(OwnFolder(), kMainEffectSlot, true);
  ASSERT_TRUE(vanta_test::WaitUntil([&] {
    Looks(1);
    return loaded == 1;
  }));
  EXPECT_EQ(Looks(), 3);
  engine_->cancelMagicEffect();
  EXPECT_EQ(Looks(), 0);
}

TEST_F(FaceNeed, HostAloneIsNeedOnlyWhileItTakesItsPointsFromTheEngine) {
  EXPECT_EQ(Looks(), 0);
  vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, true);
  EXPECT_EQ(Looks(), 3);
  EXPECT_EQ(told_, 3);
  vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, false);
  EXPECT_EQ(Looks(), 0);
}

TEST_F(FaceNeed, HostThatDoesNotListenIsNone) {
  vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, true);
  engine_->setTesseraCpuDataFunc(nullptr);
  EXPECT_EQ(Looks(), 0);
}

TEST_F(FaceNeed, EndIsToldOnceWithoutFaces) {
  engine_->setDeformIntensityWithMode(lumivex::kDeformEyeSize, 0.5f);
  Looks();
  ASSERT_EQ(told_, 3);
  ASSERT_NE(last_->getAny(), nullptr);
  engine_->setDeformIntensityWithMode(lumivex::kDeformEyeSize, 0.0f);
  Looks();
  EXPECT_EQ(told_, 4);
  EXPECT_EQ(last_->getAny(), nullptr);
}

TEST_F(FaceNeed, TimeOfTheSearchIsTheFramesTesseraTime) {
  engine_->setDeformIntensityWithMode(lumivex::kDeformEyeSize, 0.5f);
  auto frame = picture_.Frame();
  frame->dump_flag = 1;
  frame = engine_->processFrameData(frame);
  ASSERT_NE(frame, nullptr);
  EXPECT_GT(frame->tessera_ms, 0.0f);
  const auto stages = nlohmann::json::parse(frame->dump_text)["stages_ms"];
  EXPECT_NEAR(stages["faces"].get<double>(), frame->tessera_ms, 0.001);
}

TEST_F(FaceNeed, StatisticsOfTheSearchCountFromTheEnginesStart) {
  std::string text;
  engine_->getTesseraStat(text);
  EXPECT_EQ(nlohmann::json::parse(text)["frames"], 0);
  engine_->setBeautyIntensityWithType(lumivex::kBeautySharpen, 0.5f);
  engine_->setDeformIntensityWithMode(lumivex::kDeformEyeSize, 0.5f);
  Looks(1);
  engine_->clearStats();
  Looks(1);
  engine_->setDeformIntensityWithMode(lumivex::kDeformEyeSize, 0.0f);
  Looks(1);
  engine_->getTesseraStat(text);
  EXPECT_EQ(nlohmann::json::parse(text)["frames"], 2) << text;
  EXPECT_EQ(nlohmann::json::parse(engine_->getStats())["tessera"]["frames"], 1);
}

}  // namespace
}  // namespace lumivex_test
