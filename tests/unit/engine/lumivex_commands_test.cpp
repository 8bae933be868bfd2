// What each command makes of itself at the engine.
#include <cstring>
#include <obs.hpp>

#include "fixtures/module/render_fixture.h"
#include "fixtures/process/log_capture.h"
#include "vanta_filter/engine/ability_handler.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kInfo;
using vanta_test::kWarning;

struct AbilityHandler final : ILiveEffectJsonAbilityHandler {
  void Reserved() override { calls.push_back("Reserved"); }
  void PostGameData(const std::string &raw, const std::string &method, const std::string &params) override {
    calls.push_back("PostGameData(" + raw + ", " + method + ", " + params + ")");
  }
  void PostSignalAfterLoadInteractiveBoxResource() override { calls.push_back("Loaded"); }
  void PostSignalAfterUnloadInteractiveBoxResource() override { calls.push_back("Unloaded"); }
  Texts calls;
};

class LumivexCommands : public RenderFixture {
 protected:
  void SetUp() override { Start(); }

  void SetHandler(AbilityHandler *handler) {
    const OBSDataAutoRelease settings = obs_data_create();
    obs_data_set_int(settings, "effect_json_ability_handler",
                     static_cast<long long>(reinterpret_cast<intptr_t>(handler)));
    processor_->SetOBSData(settings, nullptr);
  }
  static LXMediaResource Media(int32_t type) {
    LXMediaResource media{};
    media.type = type;
    std::strcpy(media.mediaPath, "media");
    return media;
  }
};

TEST_F(LumivexCommands, MediaTypeOneSwitchesTheEngineOffForFrames) {
  processor_->SetMediaResource(Media(1));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][lumivex] skip_lumivex_ true"));
  processor_->SetMediaResource(Media(2));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][lumivex] skip_lumivex_ false"));
  EXPECT_EQ(CallsAfterStart(), (Texts{"setMediaResource(1, media)", "setMediaResource(2, media)"}));
}

TEST_F(LumivexCommands, MediaTypeCountsBeforeAnyEngineExists) {
  vanta::LumivexProcessor sleeping;
  sleeping.SetMediaResource(Media(1));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][lumivex] skip_lumivex_ true"));
  sleeping.Initialize(64, 48, nullptr);
  ASSERT_TRUE(sleeping.IsInitialized());
  vanta::PooledFrame frame = MakePooled();
  EXPECT_EQ(sleeping.Process(frame), vanta::LumivexProcessor::kFinished);
  EXPECT_EQ(scripted_engine::FramesProcessed(), 0u) << "the engine got a frame that was to pass it by";
}

TEST_F(LumivexCommands, BasicAdjustmentReachesNoEngine) {
  processor_->SetBasicAdjustIntensity(1, 0.5F);
  EXPECT_EQ(CallsAfterStart(), Texts{});
}

TEST_F(LumivexCommands, RootPathRebuildsTheDictionaryWhateverItSays) {
  const std::string dictionary = [] {
    for (const std::string &text : scripted_engine::Texts())
      if (text.rfind("setModelPathDic", 0) == 0) return text;
    return std::string("none");
  }();
  processor_->SetModelRootPath("elsewhere");
  EXPECT_EQ(CallsAfterStart(), (Texts{dictionary, "setModelRootPath(elsewhere)"}));
}

TEST_F(LumivexCommands, WithoutAnEngineEveryCommandIsSilent) {
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

// ---- Effect slots ----

TEST_F(LumivexCommands, MainSlotRemembersItsPath) {
  processor_->SetMagicEffectWithPath("cat", kMainEffectSlot, true);
  EXPECT_TRUE(log_.Has(kInfo, "magic_main_path_= cat"));
  EXPECT_EQ(CallsAfterStart(), (Texts{"setMagicEffectWithPath(cat, 0, 1)"}));
  EXPECT_TRUE(signals().size() == 1) << "the start-up signal alone";
}

TEST_F(LumivexCommands, EmptyMainPathClearsTheDisableFlags) {
  processor_->SetMagicEffectWithPath("", kMainEffectSlot, false);
  EXPECT_EQ(signals().back(), "zt_magic_callback(00000)");
  EXPECT_EQ(CallsAfterStart(), (Texts{"setMagicEffectWithPath(, 0, 0)"}));
}

TEST_F(LumivexCommands, EndOfAGiftBringsTheMainEffectBack) {
  processor_->SetMagicEffectWithPath("cat", kMainEffectSlot, true);
  processor_->SetMagicEffectWithPath("gift", kRecognitionGiftSlot, true);
  EXPECT_TRUE(log_.Has(kInfo, "magic_recognition_gift_path_= gift"));
  processor_->SetMagicEffectWithPath("", kRecognitionGiftSlot, true);
  EXPECT_EQ(CallsAfterStart(), (Texts{"setMagicEffectWithPath(cat, 0, 1)", "setMagicEffectWithPath(gift, 2, 1)",
                                      "setMagicEffectWithPath(cat, 0, 1)"}));
}

TEST_F(LumivexCommands, UnknownSlotIsAWarningAndStillReachesTheEngine) {
  processor_->SetMagicEffectWithPath("cat", LXEffectSlot(1), false);
  EXPECT_TRUE(log_.Has(kWarning, "no slot type= 1"));
  EXPECT_EQ(CallsAfterStart(), (Texts{"setMagicEffectWithPath(cat, 1, 0)"}));
}

TEST_F(LumivexCommands, EffectWithEventReachesTheEngineAsAPath) {
  processor_->SetMagicEffectWithEvent("cat", kMainEffectSlot, true, "event");
  EXPECT_EQ(CallsAfterStart(), (Texts{"setMagicEffectWithPath(cat, 0, 1)"}));
}

TEST_F(LumivexCommands, CancelClearsTheFlagsBeforeTheEngineHearsOfIt) {
  processor_->SetMagicEffectWithPath("cat", kMainEffectSlot, true);
  processor_->CancelMagicEffect();
  EXPECT_EQ(signals().back(), "zt_magic_callback(00000)");
  EXPECT_EQ(calls_at_signal(), (Texts{"setMagicEffectWithPath(cat, 0, 1)"})) << "the engine heard of it first";
  processor_->SetMagicEffectWithPath("", kRecognitionGiftSlot, true);  // the main path is forgotten
  EXPECT_EQ(CallsAfterStart(),
            (Texts{"setMagicEffectWithPath(cat, 0, 1)", "cancelMagicEffect()", "setMagicEffectWithPath(, 0, 1)"}));
}

// ---- Interactive box ----

TEST_F(LumivexCommands, BoxIsLoadedAndTheHandlerTold) {
  AbilityHandler handler;
  SetHandler(&handler);
  processor_->LoadInteractiveBoxResource("box");
  processor_->UnloadInteractiveBoxResource();
  EXPECT_EQ(CallsAfterStart(), (Texts{"loadInteractiveBoxResource(box)", "unloadInteractiveBoxResource()"}));
  EXPECT_EQ(handler.calls, (Texts{"Loaded", "Unloaded"}));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][MagicTreasureChest] PostSignalAfterLoadInteractiveBoxResource"));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][MagicTreasureChest] PostSignalAfterUnloadInteractiveBoxResource"));
}

TEST_F(LumivexCommands, EmptyBoxPathDoesNothingAtAll) {
  log_.Clear();
  processor_->LoadInteractiveBoxResource("");
  EXPECT_EQ(CallsAfterStart(), Texts{});
  EXPECT_TRUE(log_.Lines().empty());
}

TEST_F(LumivexCommands, MissingHandlerIsAWarning) {
  processor_->LoadInteractiveBoxResource("box");
  EXPECT_TRUE(log_.Has(kWarning, "[beauty] ILiveEffectJsonAbilityHandler is nullptr"));
}

TEST_F(LumivexCommands, HandlerIsReadAnewForEachUse) {
  AbilityHandler handler;
  SetHandler(&handler);
  processor_->LoadInteractiveBoxResource("box");
  SetHandler(nullptr);
  processor_->LoadInteractiveBoxResource("box");
  EXPECT_EQ(handler.calls, (Texts{"Loaded"}));
}

}  // namespace
