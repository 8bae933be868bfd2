// The filter's callbacks: registration, creation, destruction, and the path of a frame through filter_video.
#include <util/bmem.h>

#include <chrono>
#include <cstring>

#include "engine/faceless_instance.h"
#include "fakes/control/recording_handler.h"
#include "fixtures/module/filter_fixture.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/module/host_frame.h"

namespace {

using namespace vanta_test;
using namespace std::chrono_literals;
using Texts = std::vector<std::string>;

using vanta_test::kInfo;
using vanta_test::kWarning;
constexpr char kEnqueueFailed[] = "[beauty][FaceBeautyFilterWorker]  EnqueueFrame failed, return original frame";
constexpr char kDequeueFailed[] = "[beauty][FaceBeautyFilterWorker]  DequeueFrame failed, return last frame";
constexpr char kUninited[] = "[beauty][FaceBeautyFilterWorker]  worker is uninited, return original frame";

class BeautyFilter : public FilterFixture {
 protected:
  void PutOrientationIntoTheSettings() {
    const OBSDataAutoRelease orientation = obs_data_create_from_json("{\"rot_deg\":90}");
    obs_data_set_obj(settings_, "sceneitem_orientation_info", orientation);
  }
};

// ---- Registration ----

TEST_F(BeautyFilter, RegistersOneRecordOf432Bytes) {
  ASSERT_EQ(host_double::Registrations().size(), 1u);
  EXPECT_EQ(host_double::Registrations().front().size(), 432u);
}

TEST_F(BeautyFilter, RecordSetsTheNamedFieldsAndNoOther) {
  EXPECT_STREQ(record_.id, "face_beauty_filter_v2");
  EXPECT_EQ(record_.type, OBS_SOURCE_TYPE_FILTER);
  EXPECT_EQ(record_.output_flags, 1u);
  // What is not in the list of set offsets must be zero.
  const std::vector<uint8_t> bytes = host_double::Registrations().front();
  const std::vector<size_t> set = {0, 8, 16, 24, 32, 64, 80, 128, 136, 216, 424};
  for (size_t word = 0; word < bytes.size(); word += 8) {
    uint64_t value;
    std::memcpy(&value, bytes.data() + word, sizeof(value));
    const bool expected = std::find(set.begin(), set.end(), word) != set.end();
    EXPECT_EQ(value != 0, expected) << "at byte " << word;
  }
}

TEST_F(BeautyFilter, NameIsTheKeyWhereTheLocaleLacksIt) {
  EXPECT_STREQ(record_.get_name(nullptr), "FacebeautyFilterV2");
}

TEST_F(BeautyFilter, HasNoPropertySheet) {
  CreateFilter();
  EXPECT_EQ(record_.get_properties(instance_), nullptr);
}

// ---- Creation and destruction ----

TEST_F(BeautyFilter, CreationCallsTheHostInOrder) {
  CreateFilter();
  // The worker's thread looks for its own folder while `create` goes on.
  EXPECT_EQ(gs_recorder::CallsWithout({"obs_find_module_file(faceless_builtin)", "gs_texture_destroy(null)"}),
            (Texts{"obs_filter_get_parent(filter)", "obs_source_get_id(filter)", "obs_enter_graphics()",
                   "obs_find_module_file(vanta_beauty.effect)", "gs_effect_create_from_file(/fake/vanta_filter/file)",
                   "gs_texture_create(1920, 1080, GS_RGBA, 1, null, GS_DYNAMIC)", "obs_leave_graphics()"}));
  EXPECT_TRUE(gs_recorder::Misuse().empty());
}

TEST_F(BeautyFilter, CreationWritesTheDefaultsIntoTheSettings) {
  CreateFilter();
  EXPECT_EQ(obs_data_get_int(settings_, "apply_flag"), 255);
  EXPECT_TRUE(obs_data_has_user_value(settings_, "facepoint_calculator"));
  EXPECT_EQ(obs_data_get_int(settings_, "facepoint_calculator"), 0);
  EXPECT_TRUE(obs_data_has_user_value(settings_, "effect_json_ability_handler"));
  EXPECT_EQ(obs_data_get_int(settings_, "effect_json_ability_handler"), 0);
}

TEST_F(BeautyFilter, CreationGivesTheSettingsToTheWorker) {
  PutOrientationIntoTheSettings();
  CreateFilter();
  EXPECT_EQ(host_double::Reports(),
            (std::vector<HostReport>{{19, "{\"flip_hor\":false,\"flip_ver\":false,\"rotate_type\":90}"}}));
}

TEST_F(BeautyFilter, CreationWritesItsDefaultsBeforeTheWorkerGetsTheSettings) {
  RecordingHandler of_an_earlier_life;
  obs_data_set_int(settings_, "effect_json_ability_handler", of_an_earlier_life.Address());
  CreateFilter();
  Pass();
  scripted_engine::Callbacks(1).game_data(LX::BoomGameData{kPlayEffect});
  EXPECT_EQ(of_an_earlier_life.calls, Texts{});
}

TEST_F(BeautyFilter, CreationUpdatesTheWorkerBeforeItIsRegisteredForCommands) {
  PutOrientationIntoTheSettings();
  // A worker that were registered by then would be so no more.
  log_.OnLine("[beauty] fb filter update orientation , flip_hor 0, flip_ver 0",
              [this] { vanta::FacelessInstance::GetInstance()->RemoveWorker(&filter_); });
  CreateFilter();
  Pass();
  vanta::FacelessInstance::GetInstance()->SetLookupIntensity(0.25F);
  Pass();
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity(0.25)"), 1u);
}

TEST_F(BeautyFilter, RecordBeginsWithItsDefaults) {
  CreateFilter();
  EXPECT_EQ(data().context, &filter_);
  EXPECT_NE(data().worker, nullptr);
  EXPECT_EQ(data().last_frame, nullptr);
  EXPECT_EQ(data().dump_json, "");
  EXPECT_EQ(data().width, 0u);
  EXPECT_EQ(data().height, 0u);
  EXPECT_EQ(data().frame_type, 2);
  EXPECT_EQ(data().jump_count, 0u);
  EXPECT_FALSE(data().flip);
}

TEST_F(BeautyFilter, CreationRegistersTheWorkerForCommands) {
  CreateFilter();
  vanta::FacelessInstance::GetInstance()->SetLookupIntensity(0.5F);
  Pass();
  // The queued command ran on the processor without an engine; the next one meets an engine.
  vanta::FacelessInstance::GetInstance()->SetLookupIntensity(0.25F);
  Pass();
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity(0.25)"), 1u);
}

TEST_F(BeautyFilter, DestructionTakesTheWorkerOffTheCommands) {
  CreateFilter();
  Pass();
  DestroyFilter();
  scripted_engine::ClearCalls();
  vanta::FacelessInstance::GetInstance()->SetLookupIntensity(0.5F);
  EXPECT_TRUE(scripted_engine::Texts().empty());
}

TEST_F(BeautyFilter, DestructionReleasesGraphicsInOneSection) {
  CreateFilter();
  Pass();
  gs_recorder::Clear();
  DestroyFilter();
  EXPECT_EQ(gs_recorder::CallsWithout({"obs_find_module_file"}),
            (Texts{"obs_enter_graphics()", "gs_texture_destroy(texture1)", "gs_effect_destroy(effect1)",
                   "gs_texrender_destroy(null)", "obs_leave_graphics()"}));
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
  EXPECT_TRUE(gs_recorder::Misuse().empty());
}

TEST_F(BeautyFilter, DestructionLeavesNoFrameAndNoEngine) {
  CreateFilter();
  for (int i = 0; i < 3; ++i) Pass();
  DestroyFilter();
  EXPECT_EQ(scripted_engine::FramesAlive(), 0u);
  EXPECT_EQ(scripted_engine::Alive(), 0);
}

TEST_F(BeautyFilter, FilterRemoveStopsTheWorkerAndFramesPass) {
  CreateFilter();
  Pass();
  record_.filter_remove(instance_, &parent_);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 33);
  EXPECT_EQ(Video(frame.get()), frame.get());
  EXPECT_EQ(frame->data[0][0], 33);
  EXPECT_FALSE(log_.HasText("uninited"));
}

TEST_F(BeautyFilter, FilterRemoveBeforeDestroyIsHarmless) {
  CreateFilter();
  record_.filter_remove(instance_, &parent_);
  record_.filter_remove(instance_, &parent_);
  DestroyFilter();
  EXPECT_EQ(log_.Count("[beauty] FaceBeautyFilterWorker stop"), 1u);
}

TEST_F(BeautyFilter, RemovalOfAFilterThatWasNotMadeIsHarmless) {
  record_.filter_remove(nullptr, &parent_);
}

TEST_F(BeautyFilter, UpdateReachesTheWorker) {
  CreateFilter();
  const OBSDataAutoRelease settings = obs_data_create_from_json("{\"sceneitem_orientation_info\":{\"rot_deg\":90}}");
  record_.update(instance_, settings);
  EXPECT_EQ(host_double::Reports().back(),
            (HostReport{19, "{\"flip_hor\":false,\"flip_ver\":false,\"rotate_type\":90}"}));
}

// ---- filter_video ----

TEST_F(BeautyFilter, FirstFrameYieldsNothingAndIsReleased) {
  CreateFilter();
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  EXPECT_EQ(Video(frame.get()), nullptr);
  EXPECT_TRUE(log_.Has(kWarning, kDequeueFailed));
  EXPECT_EQ(gs_recorder::Count("obs_source_release_frame(parent, frame)"), 1u);
  EXPECT_EQ(data().frame_type, 2);
  EXPECT_TRUE(WaitForPasses(1));
}

TEST_F(BeautyFilter, LaterFrameCarriesEarlierPixelsAndItsOwnClock) {
  CreateFilter();
  Pass(1, kWidth, kHeight, 10);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 20, 4711);
  EXPECT_EQ(Video(frame.get()), frame.get());
  EXPECT_EQ(frame->data[0][0], 10);
  EXPECT_EQ(frame->timestamp, 4711u);
  EXPECT_EQ(data().frame_type, 1);
  EXPECT_TRUE(WaitForPasses(2));
}

TEST_F(BeautyFilter, EmptyDequeueKeepsTheTypeOfTheLastDelivery) {
  CreateFilter();
  Deliver(3);
  scripted_engine::Close(Gate::kProcess);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  while (Video(frame.get())) {
  }
  EXPECT_EQ(data().frame_type, 3);
}

TEST_F(BeautyFilter, EnqueueFailureIsLoggedAndTheFlowGoesOn) {
  CreateFilter();
  Pass();
  scripted_engine::Close(Gate::kProcess);
  HostFrame frames[5];
  for (HostFrame &frame : frames) frame = MakeFlatFrame(kWidth, kHeight);
  // One stands in the output; the first call takes it out again.
  obs_source_frame *results[5];
  for (int i = 0; i < 5; ++i) results[i] = Video(frames[i].get());
  EXPECT_EQ(results[0], frames[0].get());
  EXPECT_EQ(results[4], nullptr);
  EXPECT_EQ(log_.Count(kEnqueueFailed), 1u);
  EXPECT_TRUE(log_.Has(kWarning, kEnqueueFailed));
}

TEST_F(BeautyFilter, EngineOfTwoFramePeriodsDropsInputsAndLeavesGaps) {
  CreateFilter();
  Pass();  // the engine is there
  scripted_engine::Close(Gate::kProcess);
  size_t delivered = 0;
  size_t processed = 1;
  for (int tick = 0; tick < 20; ++tick) {
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 16, static_cast<uint64_t>(tick));
    if (Video(frame.get())) ++delivered;
    if (tick % 2 == 1) {
      ASSERT_TRUE(scripted_engine::WaitAt(Gate::kProcess));
      scripted_engine::LetOneThrough(Gate::kProcess);
      ASSERT_TRUE(WaitForPasses(++processed));
    }
  }
  EXPECT_GT(log_.Count(kEnqueueFailed), 0u);
  EXPECT_GT(log_.Count(kDequeueFailed), 0u);
  EXPECT_NEAR(static_cast<double>(delivered), 10.0, 1.0);
}

TEST_F(BeautyFilter, UninitialisedWorkerPassesFramesAndSaysSo) {
  CreateFilter();
  auto running = data().worker;
  data().worker = vanta::FaceBeautyFilterWorker::Create(&filter_);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 21);
  EXPECT_EQ(Video(frame.get()), frame.get());
  EXPECT_EQ(frame->data[0][0], 21);
  EXPECT_TRUE(log_.Has(kWarning, kUninited));
  data().worker = running;
}

// As by an ability handler that answers where it is asked.
TEST_F(BeautyFilter, MayBeDestroyedOnItsWorkersOwnThread) {
  host_double::Change([](HostSwitches &switches) { switches.create_gl_context = true; });
  CreateFilter();
  scripted_engine::Change(
      [this](EngineScript &script) { script.on_frame = [this](LX::FrameData &) { DestroyFilter(); }; });
  scripted_engine::Close(Gate::kProcess);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  record_.filter_video(instance_, frame.get());
  ASSERT_TRUE(WaitUntil(
      [&] {
        if (scripted_engine::Waiting(Gate::kProcess) > 0) return true;
        data().worker->commands().Command(&IFaceless::SetBasicAdjustIntensity, 0,
                                          0.0F);  // wakes it, should the wake be lost
        return false;
      },
      "a frame in the engine"));
  scripted_engine::Open(Gate::kProcess);
  ASSERT_TRUE(scripted_engine::WaitForCalls("destroyGLFWWindow(window)", 1));
  EXPECT_EQ(scripted_engine::Alive(), 0);
  EXPECT_EQ(scripted_engine::FramesAlive(), 0u);
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
}

TEST_F(BeautyFilter, WithoutAWorkerFramesPass) {
  CreateFilter();
  auto running = data().worker;
  data().worker = nullptr;
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 22);
  EXPECT_EQ(Video(frame.get()), frame.get());
  record_.update(instance_, settings_);
  record_.filter_remove(instance_, &parent_);
  data().worker = running;
}

TEST_F(BeautyFilter, FlipIsThatOfTheNewestInput) {
  CreateFilter();
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  frame->flip = true;
  Video(frame.get());
  EXPECT_TRUE(data().flip);
  EXPECT_TRUE(WaitForPasses(1));
}

TEST_F(BeautyFilter, MinuteOfFilterVideoIsReportedByItsRecorder) {
  CreateFilter();
  Pass();
  MovableClock::Advance(61s);
  Pass();
  EXPECT_TRUE(log_.HasText("face_beauty_filter: frame cnt=2"));
}

TEST_F(BeautyFilter, PassedFramesAreMeasuredToo) {
  CreateFilter();
  vanta::FacelessInstance::GetInstance()->SetFacelessJumpInfo({true, 1});
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  Video(frame.get());
  MovableClock::Advance(61s);
  Video(frame.get());
  EXPECT_TRUE(log_.HasText("face_beauty_filter: frame cnt=2"));
}

TEST_F(BeautyFilter, MinuteOfRenderingIsReportedByItsRecorder) {
  CreateFilter();
  Render();
  MovableClock::Advance(61s);
  Render();
  EXPECT_TRUE(log_.HasText("face_beauty_render: frame cnt=2"));
}

TEST_F(BeautyFilter, EndWritesNoLineOfCosts) {
  CreateFilter();
  Pass();
  Render();
  DestroyFilter();
  EXPECT_FALSE(log_.HasText(": frame cnt="));
}

// ---- Jump ----

class BeautyFilterJump : public BeautyFilter {
 protected:
  void Jump(bool on, int type = 3) { vanta::FacelessInstance::GetInstance()->SetFacelessJumpInfo({on, type}); }
};

TEST_F(BeautyFilterJump, FramesPassUntouchedAndTheWorkerSeesNone) {
  CreateFilter();
  Jump(true);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 23);
  EXPECT_EQ(Video(frame.get()), frame.get());
  EXPECT_EQ(frame->data[0][0], 23);
  EXPECT_EQ(scripted_engine::Created(), 0);
}

TEST_F(BeautyFilterJump, OneLineInSixHundredFrames) {
  CreateFilter();
  Jump(true, 3);
  const HostFrame frame = MakeFlatFrame(2, 2);
  for (int i = 0; i < 599; ++i) Video(frame.get());
  EXPECT_EQ(log_.CountWith("[beauty][jump]"), 0u);
  Video(frame.get());
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][jump][FaceBeautyFilterWorker]  jump_type:3"));
  for (int i = 0; i < 600; ++i) Video(frame.get());
  EXPECT_EQ(log_.CountWith("[beauty][jump]"), 2u);
}

TEST_F(BeautyFilterJump, EndOfTheJumpBeginsTheCountAnew) {
  CreateFilter();
  Jump(true);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  for (int i = 0; i < 599; ++i) Video(frame.get());
  Jump(false);
  Pass();
  Jump(true);
  Video(frame.get());
  EXPECT_EQ(log_.CountWith("[beauty][jump]"), 0u);
}

TEST_F(BeautyFilterJump, QueuedFramesAreDeliveredAfterTheJump) {
  CreateFilter();
  Pass(1, kWidth, kHeight, 41);
  Jump(true);
  const HostFrame jumped = MakeFlatFrame(kWidth, kHeight, 42);
  Video(jumped.get());
  Jump(false);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 43);
  EXPECT_EQ(Video(frame.get()), frame.get());
  EXPECT_EQ(frame->data[0][0], 41);
  EXPECT_TRUE(WaitForPasses(2));
}

TEST_F(BeautyFilterJump, DeinterlaceModeIsReadEvenSo) {
  CreateFilter();
  Jump(true);
  parent_.deinterlace = OBS_DEINTERLACE_MODE_BLEND;
  gs_recorder::Clear();
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  Video(frame.get());
  EXPECT_EQ(gs_recorder::CallsWithout({"obs_find_module_file"}),
            (Texts{"obs_filter_get_parent(filter)", "obs_source_get_deinterlace_mode(parent)"}));
  EXPECT_EQ(data().last_frame, nullptr);
}

}  // namespace
