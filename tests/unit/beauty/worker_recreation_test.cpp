// A new processor knows nothing: what the worker gives it, and in which order.
#include <atomic>
#include <cstring>
#include <obs.hpp>
#include <thread>

#include "engine/faceless_instance.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "platform/thread.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kInfo;

FacelessEngineSnapshot FullSnapshot() {
  FacelessEngineSnapshot snapshot;
  snapshot.boom_game_data = "boom";
  snapshot.magic_path = "magic";
  snapshot.basic_adjust = {{1, 0.9F}};
  snapshot.body_slimming = {{LXBodySlimmingType(6), 0.6F}, {LXBodySlimmingType(5), 0.5F}};
  snapshot.deform = {{4, 0.4F}, {3, 0.3F}};
  snapshot.beauty = {{LXBeautyType(2), 0.2F}, {LXBeautyType(1), 0.1F}};
  LXMakeupInfo layer{};
  std::strcpy(layer.resourceDir, "dir");
  std::strcpy(layer.key, "lip");
  layer.word = 9;
  layer.intensity = 0.7F;
  snapshot.makeup = {layer};
  LXLookupInfo lookup{};
  std::strcpy(lookup.path, "table");
  lookup.intensity = 0.8F;
  lookup.dimension = 33;
  lookup.type = 1;
  snapshot.lookup = lookup;
  snapshot.effect_enabled = {{LXEffectType(2), false}, {LXEffectType(1), true}};
  snapshot.model_root_path = "root";
  LXGroupConfig group{};
  std::strcpy(group.path, "group");
  group.is_group = true;
  snapshot.group = group;
  snapshot.tessera_params = "params";
  return snapshot;
}

Texts WithoutDictionary(Texts texts) {
  std::erase_if(texts, [](const std::string &text) { return text.rfind("setModelPathDic", 0) == 0; });
  return texts;
}

class WorkerRecreation : public WorkerFixture {};

TEST_F(WorkerRecreation, SnapshotIsReplayedInItsFixedOrder) {
  vanta::FacelessInstance::GetInstance()->SetEngineSnapshot(FullSnapshot());
  StartWorker();
  ASSERT_TRUE(Feed());
  EXPECT_EQ(WithoutDictionary(CommandsOf(1)),
            (Texts{"updateTesseraParams(params)", "setBeautyGroupPath(group, 1)", "setModelRootPath(root)",
                   "setEffectEnabledWithEffectType(1, 1)", "setEffectEnabledWithEffectType(2, 0)",
                   "setLookupInfo(table, 0.80, 33, 1)", "setMakeupInfo(dir lip 9 0.70)",
                   "setBeautyIntensityWithType(1, 0.10)", "setBeautyIntensityWithType(2, 0.20)",
                   "setDeformIntensityWithMode(3, 0.30)", "setDeformIntensityWithMode(4, 0.40)",
                   "setBodySlimmingIntensityWithType(5, 0.50)", "setBodySlimmingIntensityWithType(6, 0.60)",
                   "setMagicEffectWithPath(magic, 0, 0)", "setBoomGameData(boom)"}));
}

TEST_F(WorkerRecreation, EmptySnapshotReplaysNothing) {
  StartWorker();
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), Texts{});
}

TEST_F(WorkerRecreation, EmptyOptionalsReplayNothingButTheMaps) {
  FacelessEngineSnapshot snapshot;
  snapshot.beauty = {{LXBeautyType(1), 0.1F}};
  vanta::FacelessInstance::GetInstance()->SetEngineSnapshot(snapshot);
  StartWorker();
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), (Texts{"setBeautyIntensityWithType(1, 0.10)"}));
}

TEST_F(WorkerRecreation, SnapshotSetDuringARunReachesTheNextProcessorOnly) {
  StartWorker();
  ASSERT_TRUE(Feed());
  FacelessEngineSnapshot snapshot;
  snapshot.boom_game_data = "boom";
  vanta::FacelessInstance::GetInstance()->SetEngineSnapshot(snapshot);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), Texts{});
  ASSERT_TRUE(Feed(3, 32, 16));
  EXPECT_EQ(CommandsOf(2), (Texts{"setBoomGameData(boom)"}));
}

TEST_F(WorkerRecreation, CommandAheadOfARecreationLivesOnInTheSnapshotAlone) {
  StartWorker();
  ASSERT_TRUE(Feed());
  FacelessEngineSnapshot snapshot;
  snapshot.beauty = {{LXBeautyType(1), 0.5F}};
  vanta::FacelessInstance::GetInstance()->SetEngineSnapshot(snapshot);
  worker_->Command(&IFaceless::SetBeautyIntensityWithType, LXBeautyType(1), 0.5F);
  worker_->Command(&IFaceless::SetNaturalityIntensity, 0.25F);
  ASSERT_TRUE(Feed(2, 32, 16));
  EXPECT_EQ(CommandsOf(1),
            (Texts{"setBeautyIntensityWithType(1, 0.50)", "setNaturalityIntensity(0.25)", "~LumivexSync()"}));
  EXPECT_EQ(CommandsOf(2), (Texts{"setBeautyIntensityWithType(1, 0.50)"}));
}

TEST_F(WorkerRecreation, OldEngineGoesBeforeTheNewOneComes) {
  StartWorker();
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed(2, 32, 16));
  const Texts texts = scripted_engine::Texts();
  const auto gone = std::find(texts.begin(), texts.end(), "~LumivexSync()");
  const auto made = std::find(texts.begin(), texts.end(), "createEngine(/fake/vanta_filter/file, 0, 32, 16)");
  ASSERT_NE(gone, texts.end());
  EXPECT_LT(gone, made);
}

TEST_F(WorkerRecreation, LinesOfARecreationComeInOrder) {
  StartWorker();
  ASSERT_TRUE(Feed());
  log_.Clear();
  ASSERT_TRUE(Feed(2, 32, 16));
  std::vector<LogLine> lines = log_.LinesWith("[beauty]");
  std::erase_if(lines, [](const LogLine &line) {
    return line.text.find(" 0x") != std::string::npos || line.text.find("Invalid") != std::string::npos;
  });
  EXPECT_EQ(lines, (std::vector<LogLine>{{kInfo, "[beauty] LumivexProcessor recreate, reset previous"},
                                         {kInfo, "[beauty] Initialize  LXEngineConfig"},
                                         {kInfo, "[beauty] Initialize  gl_window: (nil)"},
                                         {kInfo, "[beauty] LumivexProcessor init "}}));
}

TEST_F(WorkerRecreation, StoredSettingsAreGivenAgain) {
  StartWorker();
  const OBSDataAutoRelease settings = obs_data_create();
  worker_->update(settings);
  ASSERT_TRUE(Feed());
  const size_t before = log_.CountWith("SetOBSData");
  ASSERT_TRUE(Feed(2, 32, 16));
  EXPECT_EQ(log_.CountWith("SetOBSData"), before + 1);
}

TEST_F(WorkerRecreation, LoadedBoxIsLoadedAgainAfterTheSnapshot) {
  vanta::FacelessInstance::GetInstance()->SetInteractiveBoxInfo({"box", true});
  FacelessEngineSnapshot snapshot;
  snapshot.boom_game_data = "boom";
  vanta::FacelessInstance::GetInstance()->SetEngineSnapshot(snapshot);
  StartWorker();
  const OBSDataAutoRelease settings = obs_data_create();
  worker_->update(settings);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), (Texts{"setBoomGameData(boom)", "loadInteractiveBoxResource(box)"}));
}

TEST_F(WorkerRecreation, BoxThatIsNotLoadedIsLeftAlone) {
  vanta::FacelessInstance::GetInstance()->SetInteractiveBoxInfo({"box", false});
  StartWorker();
  const OBSDataAutoRelease settings = obs_data_create();
  worker_->update(settings);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), Texts{});
}

TEST_F(WorkerRecreation, WithoutSettingsTheBoxIsNotAskedFor) {
  vanta::FacelessInstance::GetInstance()->SetInteractiveBoxInfo({"box", true});
  StartWorker();
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), Texts{});
}

TEST_F(WorkerRecreation, HostForgetsTheSharedTextureStateWithEachProcessor) {
  scripted_engine::Change([](EngineScript &script) {
    script.interop = true;
    script.out_format = 5;
  });
  StartWorker();
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed(2, 32, 16));
  std::vector<std::string> flags = host_double::Calls();
  std::erase_if(flags, [](const std::string &call) { return call.rfind("SetBeauty", 0) != 0; });
  EXPECT_EQ(flags, (Texts{"SetBeautySharedTexture(0)", "SetBeautySharedTextureFallback(0)",  // the sizeless one
                          "SetBeautySharedTexture(1)",                                       //
                          "SetBeautySharedTexture(0)", "SetBeautySharedTextureFallback(0)",  // the old size's
                          "SetBeautySharedTexture(1)"}));
}

// The worker loads a box anew at a recreation during a run alone.
TEST_F(WorkerRecreation, FirstProcessorLoadsNoBox) {
  constexpr char kLoaded[] = "[beauty][MagicTreasureChest] PostSignalAfterLoadInteractiveBoxResource";
  vanta::FacelessInstance::GetInstance()->SetInteractiveBoxInfo({"box", true});
  MakeWorker();
  const OBSDataAutoRelease settings = obs_data_create();
  worker_->update(settings);
  StartWorker();
  EXPECT_EQ(log_.CountWith("SetOBSData"), 1u) << "the first processor was given no settings";
  EXPECT_EQ(log_.Count(kLoaded), 0u);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count(kLoaded), 1u);
}

// A command that comes while the old engine ends or the new one starts waits for the new one.
class WorkerRecreationGap : public WorkerRecreation, public testing::WithParamInterface<Gate> {};

INSTANTIATE_TEST_SUITE_P(Gates, WorkerRecreationGap, testing::Values(Gate::kDestroy, Gate::kCreate),
                         [](const auto &param) { return param.param == Gate::kDestroy ? "OldEnds" : "NewStarts"; });

TEST_P(WorkerRecreationGap, DirectCommandNeverMeetsAGapBetweenProcessors) {
  host_double::Change([](HostSwitches &switches) { switches.async_beauty = false; });
  StartWorker();
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(HoldAt(GetParam(), 32, 16));
  std::atomic<uint64_t> thread{0};
  std::atomic<bool> returned{false};
  std::thread control([&] {
    thread = vanta::CurrentThreadId();
    worker_->Command(&IFaceless::SetLookupIntensity, 0.5F);
    returned = true;
  });
  EXPECT_TRUE(WaitUntil([&] { return returned || (thread != 0 && IsAsleep(thread)); }, "the command's wait"));
  EXPECT_FALSE(returned);
  scripted_engine::Open(GetParam());
  control.join();
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 1u);
  EXPECT_EQ(CommandsOf(2), (Texts{"setLookupIntensity(0.50)"}));
}

}  // namespace
