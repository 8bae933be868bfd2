// A new processor knows nothing: what the worker gives it, and in which order.
#include "beauty/worker/processor_holder.h"

#include <atomic>
#include <cstring>
#include <obs.hpp>
#include <thread>

#include "beauty/worker/worker_settings.h"
#include "beauty/worker/worker_state.h"
#include "engine/faceless_instance.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "frames/face_beauty_frame_factory.h"
#include "platform/thread.h"
#include "stats/delay_stats.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

using vanta_test::kError;
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

class ProcessorHolder : public WorkerFixture {};

TEST_F(ProcessorHolder, SnapshotIsReplayedInItsFixedOrder) {
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

TEST_F(ProcessorHolder, EmptySnapshotReplaysNothing) {
  StartWorker();
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), Texts{});
}

TEST_F(ProcessorHolder, EmptyOptionalsReplayNothingButTheMaps) {
  FacelessEngineSnapshot snapshot;
  snapshot.beauty = {{LXBeautyType(1), 0.1F}};
  vanta::FacelessInstance::GetInstance()->SetEngineSnapshot(snapshot);
  StartWorker();
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), (Texts{"setBeautyIntensityWithType(1, 0.10)"}));
}

TEST_F(ProcessorHolder, SnapshotSetDuringARunReachesTheNextProcessorOnly) {
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

TEST_F(ProcessorHolder, CommandAheadOfARecreationLivesOnInTheSnapshotAlone) {
  StartWorker();
  ASSERT_TRUE(Feed());
  FacelessEngineSnapshot snapshot;
  snapshot.beauty = {{LXBeautyType(1), 0.5F}};
  vanta::FacelessInstance::GetInstance()->SetEngineSnapshot(snapshot);
  worker_->commands().Command(&IFaceless::SetBeautyIntensityWithType, LXBeautyType(1), 0.5F);
  worker_->commands().Command(&IFaceless::SetNaturalityIntensity, 0.25F);
  ASSERT_TRUE(Feed(2, 32, 16));
  EXPECT_EQ(CommandsOf(1),
            (Texts{"setBeautyIntensityWithType(1, 0.50)", "setNaturalityIntensity(0.25)", "~LumivexSync()"}));
  EXPECT_EQ(CommandsOf(2), (Texts{"setBeautyIntensityWithType(1, 0.50)"}));
}

TEST_F(ProcessorHolder, OldEngineGoesBeforeTheNewOneComes) {
  StartWorker();
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed(2, 32, 16));
  const Texts texts = scripted_engine::Texts();
  const auto gone = std::find(texts.begin(), texts.end(), "~LumivexSync()");
  const auto made = std::find(texts.begin(), texts.end(), "createEngine(/fake/vanta_filter/file, 0, 32, 16)");
  ASSERT_NE(gone, texts.end());
  EXPECT_LT(gone, made);
}

TEST_F(ProcessorHolder, LinesOfARecreationComeInOrder) {
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

TEST_F(ProcessorHolder, StoredSettingsAreGivenAgain) {
  StartWorker();
  const OBSDataAutoRelease settings = obs_data_create();
  worker_->update(settings);
  ASSERT_TRUE(Feed());
  const size_t before = log_.CountWith("SetOBSData");
  ASSERT_TRUE(Feed(2, 32, 16));
  EXPECT_EQ(log_.CountWith("SetOBSData"), before + 1);
}

TEST_F(ProcessorHolder, LoadedBoxIsLoadedAgainAfterTheSnapshot) {
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

TEST_F(ProcessorHolder, BoxThatIsNotLoadedIsLeftAlone) {
  vanta::FacelessInstance::GetInstance()->SetInteractiveBoxInfo({"box", false});
  StartWorker();
  const OBSDataAutoRelease settings = obs_data_create();
  worker_->update(settings);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), Texts{});
}

TEST_F(ProcessorHolder, WithoutSettingsTheBoxIsNotAskedFor) {
  vanta::FacelessInstance::GetInstance()->SetInteractiveBoxInfo({"box", true});
  StartWorker();
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), Texts{});
}

TEST_F(ProcessorHolder, HostForgetsTheSharedTextureStateWithEachProcessor) {
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
TEST_F(ProcessorHolder, FirstProcessorLoadsNoBox) {
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
class ProcessorHolderGap : public ProcessorHolder, public testing::WithParamInterface<Gate> {};

INSTANTIATE_TEST_SUITE_P(Gates, ProcessorHolderGap, testing::Values(Gate::kDestroy, Gate::kCreate),
                         [](const auto &param) { return param.param == Gate::kDestroy ? "OldEnds" : "NewStarts"; });

TEST_P(ProcessorHolderGap, DirectCommandNeverMeetsAGapBetweenProcessors) {
  host_double::Change([](HostSwitches &switches) { switches.async_beauty = false; });
  StartWorker();
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(HoldAt(GetParam(), 32, 16));
  std::atomic<uint64_t> thread{0};
  std::atomic<bool> returned{false};
  std::thread control([&] {
    thread = vanta::CurrentThreadId();
    worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.5F);
    returned = true;
  });
  EXPECT_TRUE(WaitUntil([&] { return returned || (thread != 0 && IsAsleep(thread)); }, "the command's wait"));
  EXPECT_FALSE(returned);
  scripted_engine::Open(GetParam());
  control.join();
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 1u);
  EXPECT_EQ(CommandsOf(2), (Texts{"setLookupIntensity(0.50)"}));
}

// ---- The first processor, and the engine's window ----

TEST_F(ProcessorHolder, GlWindowIsHiddenAndOnePixelWide) {
  host_double::Change([](HostSwitches &switches) { switches.create_gl_context = true; });
  MakeWorker();
  EXPECT_EQ(scripted_engine::Count("createGLFWWindow(1, 1, 0)"), 1u);
  EXPECT_EQ(log_.LinesWith("[beauty]").back(), (LogLine{kInfo, "[beauty] createGLFWWindow success"}));
}

TEST_F(ProcessorHolder, MissingGlWindowIsAnErrorLineAndNoMore) {
  host_double::Change([](HostSwitches &switches) { switches.create_gl_context = true; });
  scripted_engine::Change([](EngineScript &script) { script.window = false; });
  MakeWorker();
  EXPECT_EQ(log_.LinesWith("[beauty]").back(), (LogLine{kError, "[beauty] createGLFWWindow failed"}));
  StopWorker();
  EXPECT_EQ(log_.CountWith("destroyGLFWWindow"), 0u);
}

TEST_F(ProcessorHolder, GlWindowIsDestroyedWithTheWorkerAndLoggedTwice) {
  host_double::Change([](HostSwitches &switches) { switches.create_gl_context = true; });
  MakeWorker();
  StopWorker();
  EXPECT_EQ(log_.Count("[beauty] destroyGLFWWindow"), 2u);
  EXPECT_EQ(scripted_engine::Count("destroyGLFWWindow(window)"), 1u);
}

TEST_F(ProcessorHolder, HostCanKeepTheGlWindowAlive) {
  host_double::Change([](HostSwitches &switches) {
    switches.create_gl_context = true;
    switches.destroy_gl_window = false;
  });
  MakeWorker();
  StopWorker();
  EXPECT_EQ(log_.Count("[beauty] destroyGLFWWindow"), 1u);
  EXPECT_EQ(scripted_engine::Count("destroyGLFWWindow"), 0u);
}

TEST_F(ProcessorHolder, EngineGetsTheGlWindow) {
  host_double::Change([](HostSwitches &switches) { switches.create_gl_context = true; });
  StartWorker();
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Count("createEngine(/fake/vanta_filter/file, 0, 64, 48, window)"), 1u);
}

TEST_F(ProcessorHolder, FirstProcessorHasNoSizeAndStartsNoEngine) {
  StartWorker();
  EXPECT_TRUE(log_.Has(kError, "[beauty] Initialize  fail width 0,height 0"));
  EXPECT_EQ(scripted_engine::Created(), 0);
  EXPECT_TRUE(host_double::Reports().empty());
}

TEST_F(ProcessorHolder, SettingsThatStandBeforeTheStartReachTheFirstProcessor) {
  MakeWorker();
  const OBSDataAutoRelease settings = obs_data_create();
  worker_->update(settings);
  EXPECT_FALSE(log_.HasText("SetOBSData"));
  StartWorker();
  EXPECT_EQ(log_.CountWith("SetOBSData"), 1u);
}

// ---- Without a worker ----

class ProcessorHolderAlone : public testing::Test {
 protected:
  int Calls() {
    int calls = 0;
    processor_.Call([&](vanta::LumivexProcessor &) { ++calls; });
    return calls;
  }

  vanta::WorkerState state_;
  vanta::WorkerSettings settings_{nullptr};
  vanta::DelayStats stats_;
  vanta::ProcessorHolder processor_{settings_, stats_, state_};
};

TEST_F(ProcessorHolderAlone, CallsReachTheProcessorFromTheFirstToTheLast) {
  EXPECT_EQ(Calls(), 0);
  processor_.CreateFirst();
  EXPECT_EQ(Calls(), 1);
  processor_.Recreate(kWidth, kHeight);
  EXPECT_EQ(Calls(), 1);
  processor_.Release();
  EXPECT_EQ(Calls(), 0);
}

TEST_F(ProcessorHolderAlone, FirstProcessorSetsTheStateRunning) {
  EXPECT_TRUE(state_.IsUninited());
  processor_.CreateFirst();
  EXPECT_TRUE(state_.IsRunning());
}

TEST_F(ProcessorHolderAlone, ProcessorFitsItsOwnSizeAlone) {
  processor_.CreateFirst();
  EXPECT_FALSE(processor_.Fits(kWidth, kHeight));
  processor_.Recreate(kWidth, kHeight);
  EXPECT_TRUE(processor_.Fits(kWidth, kHeight));
  EXPECT_FALSE(processor_.Fits(kWidth + 2, kHeight));
  EXPECT_FALSE(processor_.Fits(kWidth, kHeight + 2));
}

TEST_F(ProcessorHolderAlone, NoProcessorFitsAfterAStop) {
  processor_.CreateFirst();
  processor_.Recreate(kWidth, kHeight);
  state_.Stop();
  EXPECT_FALSE(processor_.Fits(kWidth, kHeight));
}

TEST_F(ProcessorHolderAlone, WithoutAProcessorAFrameIsNotProcessedAndThereIsNoText) {
  vanta::FaceBeautyFrameFactory frames;
  const vanta::PooledFramePtr frame = frames.TakeFreeFrame(kWidth, kHeight);
  EXPECT_EQ(processor_.Process(*frame).result, vanta::LumivexProcessor::kNotProcessed);
  EXPECT_FALSE(processor_.TakeStats());
}

TEST_F(ProcessorHolderAlone, StatisticsTextBeginsAnewWhenItIsTaken) {
  scripted_engine::Change([](EngineScript &script) { script.stats = "text"; });
  processor_.CreateFirst();
  processor_.Recreate(kWidth, kHeight);
  EXPECT_EQ(processor_.TakeStats(), "text");
  EXPECT_EQ(scripted_engine::Count("clearStats()"), 1u);
}

}  // namespace
