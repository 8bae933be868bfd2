// What each command makes of itself at the engine, and in which order the engine and its parts end.
#include "engine/lumivex_render.h"

#include <util/bmem.h>

#include <cstring>
#include <obs.hpp>
#include <thread>

#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kInfo;

class LumivexRender : public RenderFixture {
 protected:
  void SetUp() override { Start(); }

  static LXMediaResource Media(int32_t type) {
    LXMediaResource media{};
    media.type = type;
    std::strcpy(media.mediaPath, "media");
    return media;
  }
};

TEST_F(LumivexRender, MediaTypeOneSwitchesTheEngineOffForFrames) {
  processor_->SetMediaResource(Media(1));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][lumivex] skip_lumivex_ true"));
  processor_->SetMediaResource(Media(2));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][lumivex] skip_lumivex_ false"));
  EXPECT_EQ(CallsAfterStart(), (Texts{"setMediaResource(1, media)", "setMediaResource(2, media)"}));
}

TEST_F(LumivexRender, MediaTypeCountsBeforeAnyEngineExists) {
  vanta::LumivexProcessor sleeping;
  sleeping.SetMediaResource(Media(1));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][lumivex] skip_lumivex_ true"));
  sleeping.Initialize(64, 48, nullptr);
  ASSERT_TRUE(sleeping.IsInitialized());
  vanta::PooledFrame frame = MakePooled();
  EXPECT_EQ(sleeping.Process(frame), vanta::LumivexProcessor::kFinished);
  EXPECT_EQ(scripted_engine::FramesProcessed(), 0u) << "the engine got a frame that was to pass it by";
}

TEST_F(LumivexRender, BasicAdjustmentReachesNoEngine) {
  processor_->SetBasicAdjustIntensity(1, 0.5F);
  EXPECT_EQ(CallsAfterStart(), Texts{});
}

TEST_F(LumivexRender, RootPathRebuildsTheDictionaryWhateverItSays) {
  const std::string dictionary = [] {
    for (const std::string &text : scripted_engine::Texts())
      if (text.rfind("setModelPathDic", 0) == 0) return text;
    return std::string("none");
  }();
  processor_->SetModelRootPath("elsewhere");
  EXPECT_EQ(CallsAfterStart(), (Texts{dictionary, "setModelRootPath(elsewhere)"}));
}

TEST_F(LumivexRender, WithoutAnEngineEveryCommandIsSilent) {
  vanta::LumivexProcessor sleeping;
  scripted_engine::ClearCalls();
  sleeping.SetModelPathDic({});
  sleeping.SetModelRootPath("r");
  sleeping.UpdateTesseraParams("{}");
  sleeping.BeginBatchCommand();
  sleeping.EndBatchCommand();
  sleeping.SetEffectEnabledWithEffectType(LXEffectType(1), true);
  sleeping.SetLookupInfo({});
  sleeping.SetLookupIntensity(0.5F);
  sleeping.SetMakeupInfo({});
  sleeping.SetMakeupIntensityWithKey("k", 0.5F);
  sleeping.SetBeautyIntensityWithType(LXBeautyType(1), 0.5F);
  sleeping.SetBeautyGroupPath({});
  sleeping.SetNaturalityIntensity(0.5F);
  sleeping.SetDeformIntensityWithMode(1, 0.5F);
  sleeping.SetBodySlimmingIntensityWithType(LXBodySlimmingType(1), 0.5F);
  sleeping.SetBodySlimmingManualLegHeightRangeAndDir(0.25F, 0.5F, 1);
  sleeping.SetMagicEffectWithEvent("p", kMainEffectSlot, false, "e");
  sleeping.SetMagicEffectWithPath("p", kMainEffectSlot, false);
  sleeping.CancelMagicEffect();
  sleeping.SetEffectStateWithState(LXEffectState(1));
  sleeping.SetEffectIntensityWithType(LXEffectAdjustType(1), 0.5F);
  sleeping.SetMediaResource({});
  sleeping.SetBasicAdjustIntensity(1, 0.5F);
  sleeping.SetBoomGameData("{}");
  sleeping.SetMagicCustomImage({});
  sleeping.LoadInteractiveBoxResource("b");
  sleeping.UnloadInteractiveBoxResource();
  EXPECT_EQ(scripted_engine::Texts(), Texts{});
}

TEST_F(LumivexRender, EffectWithEventReachesTheEngineAsAPath) {
  processor_->SetMagicEffectWithEvent("cat", kMainEffectSlot, true, "event");
  EXPECT_EQ(CallsAfterStart(), (Texts{"setMagicEffectWithPath(cat, 0, 1)"}));
}

TEST_F(LumivexRender, CancelClearsTheFlagsBeforeTheEngineHearsOfIt) {
  processor_->SetMagicEffectWithPath("cat", kMainEffectSlot, true);
  processor_->CancelMagicEffect();
  EXPECT_EQ(signals().back(), "zt_magic_callback(00000)");
  EXPECT_EQ(calls_at_signal(), (Texts{"setMagicEffectWithPath(cat, 0, 1)"})) << "the engine heard of it first";
  processor_->SetMagicEffectWithPath("", kRecognitionGiftSlot, true);  // the main path is forgotten
  EXPECT_EQ(CallsAfterStart(),
            (Texts{"setMagicEffectWithPath(cat, 0, 1)", "cancelMagicEffect()", "setMagicEffectWithPath(, 0, 1)"}));
}

TEST_F(LumivexRender, EmptyBoxPathDoesNothingAtAll) {
  log_.Clear();
  processor_->LoadInteractiveBoxResource("");
  EXPECT_EQ(CallsAfterStart(), Texts{});
  EXPECT_TRUE(log_.Lines().empty());
}

// ---- Life ----

TEST_F(LumivexRender, LifeIsLoggedWithTheObjectsAddress) {
  char address[32];
  std::snprintf(address, sizeof(address), "%p", static_cast<void *>(processor_.get()));
  EXPECT_TRUE(log_.Has(kInfo, std::string("[beauty] LumivexRender::LumivexRender ") + address));
  processor_.reset();
  EXPECT_TRUE(log_.Has(kInfo, std::string("[beauty] LumivexRender::~LumivexRender ") + address));
}

TEST_F(LumivexRender, EngineGoesBeforeTheRest) {
  scripted_engine::Close(Gate::kDestroy);
  std::thread end([this] { processor_.reset(); });
  EXPECT_TRUE(scripted_engine::WaitAt(Gate::kDestroy));
  EXPECT_EQ(host_double::Calls(), Texts{}) << "before the engine's end";
  EXPECT_FALSE(log_.HasText("LumivexRender::~LumivexRender")) << "before the engine's end";
  scripted_engine::Open(Gate::kDestroy);
  end.join();
  EXPECT_EQ(scripted_engine::Texts().back(), "~LumivexSync()");
  EXPECT_EQ(host_double::Calls(), (Texts{"SetBeautySharedTexture(0)", "SetBeautySharedTextureFallback(0)"}));
}

TEST_F(LumivexRender, SettingsAreKeptByReference) {
  obs_data_t *settings = obs_data_create();
  processor_->SetOBSData(settings, nullptr);
  char line[64];
  std::snprintf(line, sizeof(line), "LumivexRender[%p] SetOBSData", static_cast<void *>(processor_.get()));
  EXPECT_TRUE(log_.Has(kInfo, line));
  const long with_settings = bnum_allocs();
  obs_data_release(settings);
  EXPECT_EQ(bnum_allocs(), with_settings) << "the wrapper holds none of its own";
  processor_->SetOBSData(nullptr, nullptr);
  EXPECT_LT(bnum_allocs(), with_settings);
}

}  // namespace
