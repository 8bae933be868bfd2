// The landmark filter as the host drives it: its record, and each render call by call.
#include <gmock/gmock.h>

#include <chrono>
#include <cstring>
#include <string>
#include <vector>

#include "fakes/clock/movable_clock.h"
#include "fixtures/module/landmark_fixture.h"
#include "fixtures/process/wait.h"
#include "landmark/landmark_filter_source.h"
#include "vanta_filter/module/source_record.h"

namespace vanta_test {
namespace {

using std::chrono::milliseconds;
using testing::Contains;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;
using testing::Not;
using Strings = std::vector<std::string>;

constexpr milliseconds kInterval{66};

class LandmarkSource : public LandmarkFixture {
 protected:
  LandmarkSource() {
    vanta::RegisterLandmarkFilter();
    record_ = host_double::Registered("tessera_landmark_filter");
    filter_.name = "filter";
    parent_.name = "parent";
    target_.name = "target";
    SetSize(1920, 1080);
  }
  ~LandmarkSource() override { Destroy(); }

  void Create(bool with_parent = true) {
    data_ = record_.create(nullptr, &filter_);
    ASSERT_NE(data_, nullptr);
    if (with_parent) Attach();
    gs_recorder::Clear();
  }
  void Attach() {
    filter_.parent = &parent_;
    filter_.target = &target_;
  }
  void Destroy() {
    scripted_runner::Open();
    if (data_) record_.destroy(data_);
    data_ = nullptr;
  }
  void SetSize(uint32_t width, uint32_t height) {
    parent_.width = width;
    parent_.height = height;
  }
  // What the render calls.
  Strings Render() {
    gs_recorder::Clear();
    const gs_recorder::InGraphics graphics;
    record_.video_render(data_, nullptr);
    return gs_recorder::Calls();
  }
  Strings RenderAfter(milliseconds time) {
    MovableClock::Advance(time);
    return Render();
  }
  Strings Capture() { return RenderAfter(kInterval); }
  static bool IsCapture(const Strings &calls) {
    return testing::Value(calls, Contains(testing::StartsWith("gs_texrender_begin")));
  }
  static void PointsByEngine(bool on) {
    host_double::Change([on](HostSwitches &switches) { switches.face_point_by_lx = on; });
  }

  // The calls before and after what is read back, around a target `name` of this size.
  static Strings RenderCalls(const std::string &name, uint32_t width, uint32_t height) {
    const std::string w = std::to_string(width);
    const std::string h = std::to_string(height);
    return {"gs_texrender_reset(" + name + ")",
            "gs_texrender_begin(" + name + ", " + w + ", " + h + ")",
            "gs_clear(GS_CLEAR_COLOR, (0, 0, 0, 0), 0, 0)",
            "gs_ortho(0, " + w + ", 0, " + h + ", -100, 100)",
            "gs_set_viewport(0, 0, " + w + ", " + h + ")",
            "obs_source_video_render(target)",
            "gs_texrender_end(" + name + ")"};
  }
  static Strings Joined(std::initializer_list<Strings> parts) {
    Strings all;
    for (const Strings &part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
  }

  const Strings before_ = {"obs_filter_get_parent(filter)",
                           "obs_source_skip_video_filter(filter)",
                           "obs_filter_get_target(filter)",
                           "obs_filter_get_parent(filter)",
                           "obs_source_get_base_width(parent)",
                           "obs_source_get_base_height(parent)",
                           "gs_viewport_push()",
                           "gs_projection_push()"};
  const Strings after_ = {"gs_projection_pop()", "gs_viewport_pop()"};
  const Strings passed_only_ = {"obs_filter_get_parent(filter)", "obs_source_skip_video_filter(filter)"};

  HostSourceInfo record_{};
  obs_source filter_;
  obs_source parent_;
  obs_source target_;
  void *data_ = nullptr;
};

// ---- Record, creation, destruction ----

TEST_F(LandmarkSource, RecordSetsItsSlotsAndNoOther) {
  std::vector<size_t> set;
  const auto *bytes = reinterpret_cast<const char *>(&record_);
  for (size_t offset = 0; offset < sizeof(record_); offset += 8) {
    uint64_t slot = 0;
    std::memcpy(&slot, bytes + offset, sizeof(slot));
    if (slot != 0) set.push_back(offset);
  }
  // id, type with flags, get_name, create, destroy, get_defaults, get_properties, update, video_render, filter_remove
  EXPECT_THAT(set, ElementsAre(0, 8, 16, 24, 32, 56, 64, 80, 128, 216));
  EXPECT_EQ(record_.type, OBS_SOURCE_TYPE_FILTER);
  EXPECT_EQ(record_.output_flags, static_cast<uint32_t>(OBS_SOURCE_VIDEO));
}

TEST_F(LandmarkSource, HasAFixedNameNoPropertiesAndNoSettings) {
  Create();
  EXPECT_STREQ(record_.get_name(nullptr), "tessera landmark filter");
  EXPECT_EQ(record_.get_properties(data_), nullptr);
  record_.get_defaults(nullptr);
  record_.update(data_, nullptr);
  EXPECT_THAT(gs_recorder::Calls(), IsEmpty());
}

TEST_F(LandmarkSource, CreationStartsTheWorkerAndMakesTheTarget) {
  data_ = record_.create(nullptr, &filter_);
  EXPECT_THAT(gs_recorder::Calls(),
              ElementsAre("obs_enter_graphics()", "gs_texrender_create(GS_RGBA, GS_ZS_NONE)", "obs_leave_graphics()"));
  log_.WaitFor(LOG_INFO, "TesseraLandmarkFilterWorker start");
}

TEST_F(LandmarkSource, DestructionEndsTheWorkerInsideGraphics) {
  Create();
  Capture();
  gs_recorder::Clear();
  Destroy();
  EXPECT_THAT(gs_recorder::Calls(),
              ElementsAre("obs_enter_graphics()", "gs_stagesurface_unmap(stage1)", "gs_stagesurface_destroy(stage1)",
                          "gs_texrender_destroy(texrender1)", "obs_leave_graphics()"));
  EXPECT_TRUE(log_.HasText("TesseraLandmarkFilterWorker stop thread["));
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
}

TEST_F(LandmarkSource, ThreadIsJoinedBeforeGraphicsAreLeft) {
  SetSize(16, 8);
  Create();
  Strings calls_until_the_join;
  RunnerScript script;
  script.on_run = [&](const RunnerPicture &) {
    log_.WaitForText("TesseraLandmarkFilterWorker stop thread[");
    calls_until_the_join = gs_recorder::Calls();
  };
  scripted_runner::SetScript(script);
  scripted_runner::Close();
  WaitUntil(
      [&] {
        Capture();
        return scripted_runner::AtGate();
      },
      "a run");
  gs_recorder::Clear();
  Destroy();
  EXPECT_THAT(calls_until_the_join, Contains("obs_enter_graphics()"));
  EXPECT_THAT(calls_until_the_join, Not(Contains("obs_leave_graphics()")));
}

TEST_F(LandmarkSource, EndWritesNoLineOfCosts) {
  Create();
  Capture();
  Destroy();
  EXPECT_FALSE(log_.HasText("landmark_filter: frame cnt="));
}

TEST_F(LandmarkSource, MinuteOfRendersIsReportedByItsRecorder) {
  SetSize(16, 8);
  Create();
  Capture();
  RenderAfter(std::chrono::seconds(61));
  EXPECT_TRUE(log_.HasText("landmark_filter: frame cnt=2"));
}

TEST_F(LandmarkSource, DestructionOfNothingDoesNothing) {
  record_.destroy(nullptr);
  EXPECT_THAT(gs_recorder::Calls(), IsEmpty());
}

TEST_F(LandmarkSource, FilterThatNeverCapturedIsDestroyedAsWell) {
  Create();
  Destroy();
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
}

// ---- Captures, call by call ----

TEST_F(LandmarkSource, FirstCaptureOnTheCpuPath) {
  Create();
  EXPECT_THAT(Capture(),
              ElementsAreArray(Joined({before_,
                                       RenderCalls("texrender1", 1920, 1080),
                                       {"gs_stagesurface_create(1920, 1080, GS_RGBA)", "gs_get_device_type()",
                                        "gs_texrender_get_texture(texrender1)",
                                        "gs_stage_texture(stage1, texrender1.texture)", "gs_stagesurface_map(stage1)"},
                                       after_})));
}

TEST_F(LandmarkSource, LaterCaptureUnmapsAfterStagingOnDirect3D) {
  Create();
  Capture();
  EXPECT_THAT(Capture(), ElementsAreArray(Joined({before_,
                                                  RenderCalls("texrender1", 1920, 1080),
                                                  {"gs_get_device_type()", "gs_texrender_get_texture(texrender1)",
                                                   "gs_stage_texture(stage1, texrender1.texture)",
                                                   "gs_stagesurface_unmap(stage1)", "gs_stagesurface_map(stage1)"},
                                                  after_})));
}

TEST_F(LandmarkSource, LaterCaptureUnmapsBeforeStagingOnOpenGl) {
  gs_recorder::SetDeviceType(GS_DEVICE_OPENGL);
  Create();
  Capture();
  EXPECT_THAT(Capture(),
              ElementsAreArray(Joined(
                  {before_,
                   RenderCalls("texrender1", 1920, 1080),
                   {"gs_get_device_type()", "gs_stagesurface_unmap(stage1)", "gs_texrender_get_texture(texrender1)",
                    "gs_stage_texture(stage1, texrender1.texture)", "gs_stagesurface_map(stage1)"},
                   after_})));
}

TEST_F(LandmarkSource, CaptureOnTheGpuPathReadsNothingBack) {
  UseGpuPath(true);
  Create();
  log_.WaitForText("Create D3D device or context failed!");
  WaitUntil(
      [&] {
        log_.Clear();
        Capture();
        return !log_.HasText("not init yet");
      },
      "the worker's set-up");
  EXPECT_THAT(Capture(),
              ElementsAreArray(Joined(
                  {before_, RenderCalls("texrender1", 1920, 1080), {"gs_texrender_get_texture(texrender1)"}, after_})));
}

TEST_F(LandmarkSource, PathIsReadAnewOnEachCapture) {
  Create();
  Capture();
  UseGpuPath(true);
  EXPECT_THAT(Capture(), Not(Contains(testing::StartsWith("gs_stage"))));
  UseGpuPath(false);
  EXPECT_THAT(Capture(), Contains("gs_stagesurface_map(stage1)"));
}

TEST_F(LandmarkSource, NewSizeMakesTargetAndSurfaceAnewBeforeTheRender) {
  Create();
  Capture();
  SetSize(640, 360);
  EXPECT_THAT(
      Capture(),
      ElementsAreArray(Joined({before_,
                               {"gs_stagesurface_unmap(stage1)", "gs_stagesurface_destroy(stage1)",
                                "gs_texrender_destroy(texrender1)", "gs_texrender_create(GS_RGBA, GS_ZS_NONE)"},
                               RenderCalls("texrender2", 640, 360),
                               {"gs_stagesurface_create(640, 360, GS_RGBA)", "gs_get_device_type()",
                                "gs_texrender_get_texture(texrender2)", "gs_stage_texture(stage2, texrender2.texture)",
                                "gs_stagesurface_unmap(stage2)", "gs_stagesurface_map(stage2)"},
                               after_})));
}

TEST_F(LandmarkSource, ChangeOfOneSideAloneIsANewSize) {
  Create();
  Capture();
  SetSize(1920, 360);
  EXPECT_THAT(Capture(), Contains("gs_texrender_begin(texrender2, 1920, 360)"));
  SetSize(640, 360);
  EXPECT_THAT(Capture(), Contains("gs_texrender_begin(texrender3, 640, 360)"));
}

TEST_F(LandmarkSource, NewSizeBeforeTheFirstCaptureHasNoSurfaceToUnmap) {
  SetSize(640, 360);
  Create();
  const Strings calls = Capture();
  EXPECT_THAT(calls, Not(Contains(testing::StartsWith("gs_stagesurface_unmap"))));
  EXPECT_THAT(calls, Contains("gs_texrender_begin(texrender2, 640, 360)"));
}

// ---- When a capture is made ----

TEST_F(LandmarkSource, VideoPassesBeforeTheIntervalIsOver) {
  Create();
  EXPECT_THAT(Render(), ElementsAreArray(passed_only_));
  EXPECT_THAT(RenderAfter(milliseconds(65)), ElementsAreArray(passed_only_));
}

TEST_F(LandmarkSource, RendersSixtyFiveMillisecondsApartGiveOneCapture) {
  Create();
  EXPECT_TRUE(IsCapture(Capture()));
  EXPECT_FALSE(IsCapture(RenderAfter(milliseconds(65))));
  EXPECT_TRUE(IsCapture(RenderAfter(milliseconds(1))));
}

TEST_F(LandmarkSource, NoMoreThanFifteenCapturesASecondAtAnyVideoRate) {
  SetSize(16, 8);
  Create();
  for (const int rate : {25, 30, 50, 60, 144}) {
    int captures = 0;
    for (int i = 0; i < 10 * rate; ++i) {
      MovableClock::Advance(std::chrono::nanoseconds(std::chrono::seconds(1)) / rate);
      captures += IsCapture(Render());
    }
    EXPECT_GT(captures, 10 * 11) << rate;
    EXPECT_LE(captures, 10 * 1000 / 66) << rate;
  }
}

TEST_F(LandmarkSource, FailedCaptureCountsAsOne) {
  Create();
  gs_recorder::FailAll("gs_texrender_begin");
  Capture();
  gs_recorder::AllowAll();
  EXPECT_FALSE(IsCapture(RenderAfter(milliseconds(65))));
  EXPECT_TRUE(IsCapture(RenderAfter(milliseconds(1))));
}

TEST_F(LandmarkSource, NothingIsCapturedWhereTheEngineSuppliesTheFaces) {
  PointsByEngine(true);
  Create();
  EXPECT_THAT(Capture(), ElementsAreArray(passed_only_));
}

TEST_F(LandmarkSource, CapturesBeginAtOnceWhenTheEngineNoLongerSuppliesTheFaces) {
  PointsByEngine(true);
  Create();
  Capture();
  PointsByEngine(false);
  EXPECT_TRUE(IsCapture(Render()));
}

TEST_F(LandmarkSource, FilterWithoutAParentRecordsACaptureAndCrashesNobody) {
  Create(false);
  EXPECT_THAT(Capture(), ElementsAre("obs_filter_get_parent(filter)", "obs_filter_get_target(filter)",
                                     "obs_filter_get_parent(filter)"));
  Attach();
  EXPECT_FALSE(IsCapture(RenderAfter(milliseconds(65))));
  EXPECT_TRUE(IsCapture(RenderAfter(milliseconds(1))));
}

TEST_F(LandmarkSource, ParentWithoutASizeYetIsNotCaptured) {
  Create();
  SetSize(0, 1080);
  EXPECT_FALSE(IsCapture(Capture()));
  SetSize(1920, 0);
  EXPECT_FALSE(IsCapture(Capture()));
  SetSize(1920, 1080);
  EXPECT_TRUE(IsCapture(Capture()));
}

// ---- What reaches the worker ----

TEST_F(LandmarkSource, PixelsOfTheTargetReachTheRunnerAndTheSignal) {
  SetSize(16, 8);
  gs_recorder::SetStagePadding(20);
  Create();
  for (const int device : {GS_DEVICE_DIRECT3D_11, GS_DEVICE_OPENGL}) {
    gs_recorder::SetDeviceType(device);
    for (const uint8_t grey : {60, 120, 240}) {
      gs_recorder::SetPaint(grey);
      WaitUntil(
          [&] {
            Capture();
            const std::vector<RunnerPicture> pictures = scripted_runner::Pictures();
            return !pictures.empty() && pictures.back().width == 16 && pictures.back().y.front() == Luma(grey);
          },
          "the newest picture at the runner");
      EXPECT_THAT(scripted_runner::Pictures().back().y, testing::Each(Luma(grey)));
    }
  }
  WaitForMessages(1);
  EXPECT_EQ(Messages().back().Int("face_cont"), 1);
}

TEST_F(LandmarkSource, CapturesAfterTheRemovalReachNobody) {
  SetSize(16, 8);
  Create();
  record_.filter_remove(data_, &parent_);
  EXPECT_TRUE(IsCapture(Capture()));
  EXPECT_TRUE(IsCapture(Capture()));
  Destroy();
  EXPECT_THAT(scripted_runner::Pictures(), IsEmpty());
}

TEST_F(LandmarkSource, RemovalOfAFilterThatWasNotMadeIsHarmless) {
  record_.filter_remove(nullptr, &parent_);
}

TEST_F(LandmarkSource, RemovalMayComeTwice) {
  Create();
  record_.filter_remove(data_, &parent_);
  record_.filter_remove(data_, &parent_);
}

TEST_F(LandmarkSource, EndWhileTheRunnerWorksWaitsForItAlone) {
  SetSize(16, 8);
  Create();
  scripted_runner::Close();
  WaitUntil(
      [&] {
        Capture();
        return scripted_runner::AtGate();
      },
      "a run");
  record_.filter_remove(data_, &parent_);
  Capture();
  Destroy();
  EXPECT_EQ(scripted_runner::Runs(), 1u);
}

// ---- Failures ----

struct Path {
  const char *name;
  bool gpu;
  int device;
};

class LandmarkCaptureFailure : public LandmarkSource, public testing::WithParamInterface<Path> {};

// The k-th call of a capture fails, one after the other: the first of its kind, a later one, one with a new size.
TEST_P(LandmarkCaptureFailure, NoFailedCallBreaksTheFilter) {
  UseGpuPath(GetParam().gpu);
  gl_host_double::Script().context = true;
  gs_recorder::SetDeviceType(GetParam().device);
  for (int capture = 0; capture < 3; ++capture) {
    for (size_t k = 1;; ++k) {
      SetSize(16, 8);
      Create();
      if (capture > 0) Capture();
      if (capture > 1) SetSize(8, 16);
      gs_recorder::FailCall(k);
      Capture();
      const bool beyond = gs_recorder::CallsSinceFailCall() < k;
      gs_recorder::FailCall(0);
      EXPECT_EQ(gs_recorder::OpenBrackets(), 0) << capture << ", call " << k;
      EXPECT_TRUE(IsCapture(Capture())) << capture << ", call " << k;
      Destroy();
      EXPECT_THAT(gs_recorder::Misuse(), IsEmpty()) << capture << ", call " << k;
      EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u) << capture << ", call " << k;
      if (beyond) break;
      ASSERT_LT(k, 60u);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Paths, LandmarkCaptureFailure,
                         testing::Values(Path{"Direct3D", false, GS_DEVICE_DIRECT3D_11},
                                         Path{"OpenGl", false, GS_DEVICE_OPENGL},
                                         Path{"GpuPath", true, GS_DEVICE_OPENGL}),
                         [](const testing::TestParamInfo<Path> &info) { return std::string(info.param.name); });

TEST_F(LandmarkSource, SurfaceThatCannotBeMappedIsTriedAgain) {
  SetSize(16, 8);
  Create();
  gs_recorder::FailAll("gs_stagesurface_map");
  Capture();
  gs_recorder::AllowAll();
  EXPECT_THAT(Capture(), Not(Contains(testing::StartsWith("gs_stagesurface_unmap"))));
  EXPECT_THAT(Capture(), Contains("gs_stagesurface_unmap(stage1)"));
}

TEST_F(LandmarkSource, TargetThatCannotBeDrawnShowsItsOldContents) {
  SetSize(16, 8);
  Create();
  Capture();
  gs_recorder::FailAll("gs_texrender_begin");
  EXPECT_THAT(Capture(), Contains("gs_stagesurface_map(stage1)"));
}

}  // namespace
}  // namespace vanta_test
