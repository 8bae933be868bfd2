// Settings: the worker's copy and the orientation.
#include "beauty/worker/worker_settings.h"

#include <callback/signal.h>

#include <map>
#include <obs.hpp>

#include "fakes/control/recording_handler.h"
#include "fakes/runner/scripted_runner.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

using namespace vanta_test;

using vanta_test::kInfo;

OBSDataAutoRelease Settings(const char *json) {
  OBSDataAutoRelease settings = obs_data_create_from_json(json);
  EXPECT_NE(settings.Get(), nullptr) << json;
  return settings;
}

std::string Orientation(bool hor, bool ver, int degrees) {
  return "{\"sceneitem_orientation_info\":{\"hor_flip\":" + std::string(hor ? "true" : "false") +
         ",\"ver_flip\":" + (ver ? "true" : "false") + ",\"rot_deg\":" + std::to_string(degrees) + "}}";
}

class WorkerSettings : public WorkerFixture {
 protected:
  void SetUp() override { StartWorker(); }

  void Update(const std::string &json) {
    const OBSDataAutoRelease settings = Settings(json.c_str());
    worker_->update(settings);
  }
  // The call that the engine got for the next frame.
  std::string NextFrameCall(bool frame_flip = false) {
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
    frame->flip = frame_flip;
    EXPECT_TRUE(FeedFrame(frame.get()));
    std::vector<std::string> texts = scripted_engine::Texts();
    std::erase_if(texts, [](const std::string &text) { return text.rfind("processFrameData", 0) != 0; });
    EXPECT_TRUE(Dequeue().success);
    return texts.empty() ? "none" : texts.back();
  }
  // What the engine's effect asks for goes to the handler whose address the processor's settings hold.
  static void AskForPlayEffect() { scripted_engine::Callbacks(1).game_data(LX::BoomGameData{kPlayEffect}); }
  // The engine's faces go out under the address of the parent that the processor was given.
  static const void *ParentOfTheProcessor() {
    host_double::Change([](HostSwitches &switches) { switches.face_point_by_lx = true; });
    const void *parent = nullptr;
    const signal_callback_t receive = [](void *out, calldata_t *signal) {
      auto *message = static_cast<obs_data_t *>(calldata_ptr(signal, "face_point"));
      *static_cast<const void **>(out) =
          reinterpret_cast<const void *>(static_cast<uintptr_t>(obs_data_get_int(message, "detect_key")));
    };
    signal_handler_connect(obs_get_signal_handler(), "TesseraFacePointRet", receive, &parent);
    auto out = std::make_shared<tessera::TesseraOut>();
    out->getAny() = FaceTree({{}});
    auto landmarks = std::make_shared<tessera::Any>();
    landmarks->tag = tessera::Any::kObject;
    landmarks->payload = out;
    using CpuData = std::map<std::string, std::shared_ptr<tessera::Any>>;
    scripted_engine::Callbacks(1).cpu_data(std::make_shared<CpuData>(CpuData{{"landmarks", landmarks}}));
    signal_handler_disconnect(obs_get_signal_handler(), "TesseraFacePointRet", receive, &parent);
    return parent;
  }
};

// What comes of an update whichever way commands go.
class WorkerSettingsEitherWay : public WorkerSettings, public testing::WithParamInterface<bool> {
 protected:
  void SetUp() override {
    host_double::Change([](HostSwitches &switches) { switches.async_beauty = GetParam(); });
    WorkerSettings::SetUp();
  }
};

INSTANTIATE_TEST_SUITE_P(Commands, WorkerSettingsEitherWay, testing::Bool(),
                         [](const auto &param) { return param.param ? "Queued" : "Direct"; });

TEST_F(WorkerSettings, NullSettingsEndTheCallQuietly) {
  worker_->update(nullptr);
  EXPECT_FALSE(log_.HasText("update orientation"));
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.CountWith("SetOBSData"), 0u);
}

TEST_F(WorkerSettings, NullSettingsClearTheWorkersCopy) {
  Update("{\"apply_flag\":255}");
  ASSERT_TRUE(Feed());
  const size_t before = log_.CountWith("SetOBSData");
  worker_->update(nullptr);
  ASSERT_TRUE(Feed(2, 32, 16));  // a new processor gets the stored settings: there are none
  EXPECT_EQ(log_.CountWith("SetOBSData"), before);
}

TEST_F(WorkerSettings, SettingsReachTheProcessorAheadOfTheNextFrameOnly) {
  Update("{}");
  Nudge();
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  EXPECT_EQ(log_.CountWith("SetNoGreenMatting"), 0u);
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kInfo, "SetNoGreenMatting no_green_matting_ :0"));
}

TEST_F(WorkerSettings, WithTheOptionOffTheyReachItAtOnce) {
  host_double::Change([](HostSwitches &switches) { switches.async_beauty = false; });
  Update("{\"no_green_matting\":true}");
  EXPECT_TRUE(log_.Has(kInfo, "SetNoGreenMatting no_green_matting_ :1"));
  EXPECT_EQ(log_.CountWith("SetOBSData"), 1u);
}

TEST_F(WorkerSettings, SettingsComeBeforeTheMattingRequest) {
  host_double::Change([](HostSwitches &switches) { switches.async_beauty = false; });
  Update("{}");
  const std::vector<LogLine> lines = log_.Lines();
  const auto line_with = [&lines](const char *text) {
    return std::find_if(lines.begin(), lines.end(),
                        [text](const LogLine &line) { return line.text.find(text) != std::string::npos; });
  };
  const auto matting = line_with("SetNoGreenMatting");
  ASSERT_NE(matting, lines.end());
  EXPECT_LT(line_with("SetOBSData"), matting);
}

TEST_F(WorkerSettings, WorkersCopyOutlivesTheHostsSettings) {
  RecordingHandler handler;
  {
    const OBSDataAutoRelease settings = Settings("{}");
    obs_data_set_int(settings, "effect_json_ability_handler", handler.Address());
    worker_->update(settings);
    obs_data_set_int(settings, "effect_json_ability_handler", 0);
  }
  ASSERT_TRUE(Feed());  // the recreation gives the copy to the engine's processor
  AskForPlayEffect();
  EXPECT_EQ(handler.calls, (std::vector<std::string>{"playEffect()"}));
}

TEST_P(WorkerSettingsEitherWay, ProcessorGetsTheCopyAndNotTheHostsSettings) {
  ASSERT_TRUE(Feed());
  RecordingHandler handler;
  {
    const OBSDataAutoRelease settings = Settings("{}");
    obs_data_set_int(settings, "effect_json_ability_handler", handler.Address());
    worker_->update(settings);
    obs_data_set_int(settings, "effect_json_ability_handler", 0);
  }
  ASSERT_TRUE(Feed(2));
  AskForPlayEffect();
  EXPECT_EQ(handler.calls, (std::vector<std::string>{"playEffect()"}));
}

TEST_P(WorkerSettingsEitherWay, ProcessorGetsTheParentWithAnUpdate) {
  ASSERT_TRUE(Feed());
  ASSERT_EQ(ParentOfTheProcessor(), nullptr);
  Update("{}");
  ASSERT_TRUE(Feed(2));
  EXPECT_EQ(ParentOfTheProcessor(), &parent_);
}

TEST_F(WorkerSettings, RecreatedProcessorGetsTheParentWithTheStoredSettings) {
  Update("{}");
  ASSERT_TRUE(Feed());
  EXPECT_EQ(ParentOfTheProcessor(), &parent_);
}

TEST_P(WorkerSettingsEitherWay, NoGreenMattingSendsFramesWithFour) {
  Update("{\"no_green_matting\":true}");
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format 4, rotation 0, flip 0)");
  Update("{\"no_green_matting\":false}");
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format -1, rotation 0, flip 0)");
}

TEST_P(WorkerSettingsEitherWay, AbsentNoGreenMattingMeansOff) {
  Update("{\"no_green_matting\":true}");
  NextFrameCall();
  Update("{}");
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format -1, rotation 0, flip 0)");
}

TEST_F(WorkerSettings, OrientationIsLoggedAndReported) {
  Update(Orientation(true, false, 90));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] fb filter update orientation , flip_hor 1, flip_ver 0"));
  EXPECT_EQ(host_double::Reports(),
            (std::vector<HostReport>{{19, "{\"flip_hor\":true,\"flip_ver\":false,\"rotate_type\":90}"}}));
}

TEST_P(WorkerSettingsEitherWay, ReportCarriesRawDegrees) {
  Update(Orientation(false, false, 450));
  EXPECT_EQ(host_double::Reports().back().body, "{\"flip_hor\":false,\"flip_ver\":false,\"rotate_type\":450}");
}

TEST_P(WorkerSettingsEitherWay, RawDegreesReachTheEngine) {
  Update(Orientation(false, false, 450));
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format -1, rotation 450, flip 0)");
  Update(Orientation(false, true, 450));
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format -1, rotation 270, flip 1)");
}

TEST_P(WorkerSettingsEitherWay, QuarterTurnBackWithAVerticalFlipIsAQuarterTurn) {
  Update(Orientation(false, true, -90));
  EXPECT_EQ(host_double::Reports().back().body, "{\"flip_hor\":false,\"flip_ver\":true,\"rotate_type\":-90}");
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format -1, rotation 90, flip 1)");
}

TEST_P(WorkerSettingsEitherWay, SettingsWithoutOrientationSendNoReport) {
  Update("{\"no_green_matting\":true}");
  EXPECT_TRUE(host_double::Reports().empty());
  EXPECT_FALSE(log_.HasText("update orientation"));
}

TEST_P(WorkerSettingsEitherWay, MissingOrientationKeepsTheLastOne) {
  Update(Orientation(true, false, 90));
  Update("{}");
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format -1, rotation 90, flip 1)");
}

TEST_F(WorkerSettings, EmptyOrientationMeansUpright) {
  Update(Orientation(true, true, 90));
  Update("{\"sceneitem_orientation_info\":{}}");
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format -1, rotation 0, flip 0)");
}

TEST_P(WorkerSettingsEitherWay, OrientationTakesEffectOnTheNextFrame) {
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format -1, rotation 0, flip 0)");
  Update(Orientation(false, false, 270));
  EXPECT_EQ(NextFrameCall(), "processFrameData(64x48, format -1, rotation 270, flip 0)");
}

TEST_F(WorkerSettings, HostFramesFlipBecomesAHalfTurnAndAMirror) {
  EXPECT_EQ(NextFrameCall(true), "processFrameData(64x48, format -1, rotation 180, flip 1)");
}

TEST_P(WorkerSettingsEitherWay, HostFramesFlipCancelsTheSceneItems) {
  Update(Orientation(false, true, 0));
  EXPECT_EQ(NextFrameCall(true), "processFrameData(64x48, format -1, rotation 0, flip 0)");
}

TEST_F(WorkerSettings, HostFramesFlipIsIgnoredWithTheSwitchOff) {
  host_double::Change([](HostSwitches &switches) { switches.frame_flip = false; });
  EXPECT_EQ(NextFrameCall(true), "processFrameData(64x48, format -1, rotation 0, flip 0)");
}

TEST_F(WorkerSettings, StepsOfAnUpdateComeInOrder) {
  host_double::Change([](HostSwitches &switches) { switches.async_beauty = false; });
  log_.Clear();
  Update(
      "{\"no_green_matting\":true,\"lx_enable_nvdx_interop\":\"open\","
      "\"sceneitem_orientation_info\":{\"ver_flip\":true}}");
  std::vector<LogLine> lines = log_.Lines();
  ASSERT_EQ(lines.size(), 5u);
  EXPECT_NE(lines.front().text.find("] SetOBSData"), std::string::npos);
  lines.erase(lines.begin());
  EXPECT_EQ(lines, (std::vector<LogLine>{{kInfo, "SetNoGreenMatting no_green_matting_ :1"},
                                         {kInfo, "[beauty] fb filter update orientation , flip_hor 0, flip_ver 1"},
                                         {kInfo, "[lx_enable_nvdx_interop] update [open]"},
                                         {kInfo, "put open task: open"}}));
}

// ---- Without a worker ----

// Keeps what is forwarded, as an engine would get it.
class KeptCalls final : public vanta::CommandReceiver {
 public:
  void Forward(EngineCall call) override { calls.push_back(std::move(call)); }
  std::vector<EngineCall> calls;
};

class WorkerSettingsAlone : public testing::Test {
 protected:
  void Update(const std::string &json) {
    const OBSDataAutoRelease settings = Settings(json.c_str());
    settings_.Update(settings, engine_);
  }

  KeptCalls engine_;
  vanta::WorkerSettings settings_{nullptr};
};

TEST_F(WorkerSettingsAlone, EveryUpdateForwardsSettingsAndMatting) {
  Update("{}");
  EXPECT_EQ(engine_.calls.size(), 2u);
  Update(Orientation(true, true, 90));
  EXPECT_EQ(engine_.calls.size(), 4u);
}

TEST_F(WorkerSettingsAlone, CurrentIsACopyUntilItIsCleared) {
  EXPECT_EQ(settings_.Current().Get(), nullptr);
  {
    const OBSDataAutoRelease settings = Settings("{\"apply_flag\":7}");
    settings_.Update(settings, engine_);
    obs_data_set_int(settings, "apply_flag", 8);
  }
  EXPECT_EQ(obs_data_get_int(settings_.Current(), "apply_flag"), 7);
  settings_.Clear();
  EXPECT_EQ(settings_.Current().Get(), nullptr);
}

TEST_F(WorkerSettingsAlone, OrientationStandsUntilTheNextOne) {
  Update(Orientation(true, false, 450));
  Update("{}");
  settings_.Clear();
  const vanta::SceneOrientation kept = settings_.Orientation();
  EXPECT_TRUE(kept.hor_flip);
  EXPECT_FALSE(kept.ver_flip);
  EXPECT_EQ(kept.rot_deg, 450);
  Update(Orientation(false, true, -90));
  const vanta::SceneOrientation next = settings_.Orientation();
  EXPECT_FALSE(next.hor_flip);
  EXPECT_TRUE(next.ver_flip);
  EXPECT_EQ(next.rot_deg, -90);
}

}  // namespace
