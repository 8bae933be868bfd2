// Settings: the worker's copy, the orientation, and the request for the shared-texture path.
#include <callback/signal.h>
#include <dlfcn.h>

#include <atomic>
#include <map>
#include <obs.hpp>

#include "fakes/control/recording_handler.h"
#include "fakes/runner/scripted_runner.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"

namespace {

std::atomic<bool> texts_are_null{false};

}  // namespace

// In place of libobs's, which never gives null: other hosts' settings can.
extern "C" const char *obs_data_get_string(obs_data_t *data, const char *name) {
  if (texts_are_null) return nullptr;
  static const auto own =
      reinterpret_cast<const char *(*)(obs_data_t *, const char *)>(dlsym(RTLD_NEXT, "obs_data_get_string"));
  return own(data, name);
}

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
    const TestFrame frame = MakeFrame(kWidth, kHeight);
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
  size_t settings = 0, matting = 0;
  for (size_t i = 0; i < lines.size(); ++i) {
    if (lines[i].text.find("SetOBSData") != std::string::npos) settings = i;
    if (lines[i].text.find("SetNoGreenMatting") != std::string::npos) matting = i;
  }
  EXPECT_LT(settings, matting);
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

// ---- The request for the shared-texture path ----

TEST_F(WorkerSettings, SettingsWithoutARequestAreNoRequest) {
  Update("{\"no_green_matting\":true}");
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed());
  EXPECT_FALSE(log_.HasText("[lx_enable_nvdx_interop] update"));
  EXPECT_FALSE(log_.HasText("put open task"));
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 0u);
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

TEST_F(WorkerSettings, RequestIsLoggedWhenItIsMade) {
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] update [open]"));
  EXPECT_TRUE(log_.Has(kInfo, "put open task: open"));
}

TEST_F(WorkerSettings, RequestThatHoldsANullTextIsPassedOver) {
  ASSERT_TRUE(Feed());
  texts_are_null = true;
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  texts_are_null = false;
  ASSERT_TRUE(Feed());
  EXPECT_FALSE(log_.HasText("put open task"));
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 0u);
}

TEST_F(WorkerSettings, RequestOfAnotherTypeThanTextIsPassedOver) {
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(Dequeue().success);
  for (const char *value : {"true", "false", "1", "0.5", "{}", "[]", "null"}) {
    SCOPED_TRACE(value);
    Update(std::string("{\"lx_enable_nvdx_interop\":") + value + "}");
    ASSERT_TRUE(Feed());
    EXPECT_TRUE(Dequeue().success);
    EXPECT_FALSE(log_.HasText("[lx_enable_nvdx_interop] update"));
    EXPECT_FALSE(log_.HasText("put open task"));
    EXPECT_FALSE(log_.HasText("[lx_enable_nvdx_interop] cur "));
  }
}

TEST_F(WorkerSettings, RequestOfAnotherTypeLeavesAnEarlierOneStanding) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  Update("{\"lx_enable_nvdx_interop\":true}");
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [0] target [1]"));
}

TEST_P(WorkerSettingsEitherWay, RequestThatDiffersRecreatesTheProcessor) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [0] target [1]"));
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] LumivexProcessor recreate because of LX AB change"));
  EXPECT_EQ(scripted_engine::Created(), 2);
}

TEST_P(WorkerSettingsEitherWay, RequestEqualToTheStateIsLoggedAndRecreatesNothing) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"close\"}");
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [0] target [0]"));
  EXPECT_FALSE(log_.HasText("because of LX AB change"));
  EXPECT_EQ(scripted_engine::Created(), 1);
}

TEST_P(WorkerSettingsEitherWay, OnlyTheLatestRequestCounts) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  Update("{\"lx_enable_nvdx_interop\":\"close\"}");
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 1u);
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [0] target [0]"));
  EXPECT_EQ(scripted_engine::Created(), 1);
}

TEST_F(WorkerSettings, AnythingButOpenMeansOff) {
  ASSERT_TRUE(Feed());
  for (const char *text : {"Open", "open ", "1", ""}) {
    Update("{\"lx_enable_nvdx_interop\":\"" + std::string(text) + "\"}");
    ASSERT_TRUE(Feed());
    EXPECT_TRUE(Dequeue().success);
  }
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] cur [0] target [0]"), 4u);
  EXPECT_EQ(scripted_engine::Created(), 1);
}

TEST_F(WorkerSettings, RequestIsJudgedOnce) {
  ASSERT_TRUE(Feed());
  Update("{\"lx_enable_nvdx_interop\":\"close\"}");
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 1u);
}

TEST_F(WorkerSettings, RequestWaitsForAFrameThatNeedsNoRecreation) {
  Update("{\"lx_enable_nvdx_interop\":\"open\"}");
  ASSERT_TRUE(Feed());  // recreates for its size
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 0u);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.CountWith("[lx_enable_nvdx_interop] cur "), 1u);
}

TEST_F(WorkerSettings, RecreatedProcessorProbesAnewAndTurnsThePathOn) {
  scripted_engine::Change([](EngineScript &script) {
    script.interop = true;
    script.out_format = 5;
  });
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(host_double::Switches().shared_texture);
  Update("{\"lx_enable_nvdx_interop\":\"close\"}");
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kInfo, "[lx_enable_nvdx_interop] cur [1] target [0]"));
  EXPECT_EQ(scripted_engine::Count("isNVDXInteropSupported(1, 500)"), 2u);
  EXPECT_EQ(log_.Count("[lx_enable_nvdx_interop] change from 0 to 1"), 2u);
}

}  // namespace
