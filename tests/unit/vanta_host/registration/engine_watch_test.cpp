#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <obs.hpp>

#include "fakes/control/exported_control.h"
#include "fakes/control/fake_filter.h"
#include "fixtures/host/headless_session.h"
#include "fixtures/host/registrations.h"
#include "fixtures/process/log_capture.h"
#include "registration/registration.h"
#include "vanta_filter/module/host_frame.h"
#include "vanta_host.h"

namespace {

using namespace vanta_test;

void Signal(long long type, const char *function, const char *json) {
  calldata_t data;
  calldata_init(&data);
  calldata_set_int(&data, "type", type);
  if (function) calldata_set_string(&data, "type_func", function);
  if (json) calldata_set_string(&data, "data_str", json);
  signal_handler_signal(obs_get_signal_handler(), "vanta_filter_callback", &data);
  calldata_free(&data);
}

void EngineStarted(bool created) {
  Signal(1, "OnLumivexInit", created ? R"({"createEngine":true})" : R"({"createEngine":false})");
}

// Also gives the callback that libobs calls for each frame of the filter.
auto RegisterModule(const char *id = kBeautyFilterId) {
  const HostSourceInfo record = FakeRecord(id);
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
  return LastRegistration().info.filter_video;
}

class EngineWatch : public testing::Test {
 protected:
  EngineWatch() : filter_video_(RegisterModule()) {
    filter_ = obs_source_create_private(kBeautyFilterId, "one", nullptr);
  }

  // One frame goes through the filter; true when it came back as it was and the module saw nothing of it.
  bool PassesTheModuleBy() {
    const size_t seen = TheFakeFilter().dump_ids.size();
    obs_source_frame frame{};
    EXPECT_EQ(filter_video_(obs_obj_get_data(filter_.Get()), &frame), &frame);
    return TheFakeFilter().dump_ids.size() == seen;
  }

  HeadlessSession obs_;
  decltype(obs_source_info::filter_video) filter_video_;
  OBSSourceAutoRelease filter_;
};

TEST_F(EngineWatch, KnowsNothingAtFirst) {
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
  EXPECT_FALSE(vanta_host_is_passing_through());
  EXPECT_FALSE(PassesTheModuleBy());
}

TEST_F(EngineWatch, NamesEveryStateAndAnythingElseAsUnknown) {
  EXPECT_STREQ(vanta_host_engine_state_name(VANTA_ENGINE_UNKNOWN), "unknown");
  EXPECT_STREQ(vanta_host_engine_state_name(VANTA_ENGINE_RUNNING), "running");
  EXPECT_STREQ(vanta_host_engine_state_name(VANTA_ENGINE_MISSING), "missing");
  EXPECT_STREQ(vanta_host_engine_state_name(static_cast<vanta_host_engine_state>(3)), "unknown");
}

TEST_F(EngineWatch, FindsTheControlObject) {
  EXPECT_EQ(vanta_host_get_faceless(), static_cast<ILumivex *>(&Control()));
}

TEST_F(EngineWatch, AMissingEngineLetsFramesPassTheModuleBy) {
  LogCapture log;
  EngineStarted(false);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_MISSING);
  EXPECT_TRUE(vanta_host_is_passing_through());
  EXPECT_TRUE(PassesTheModuleBy());
  EXPECT_TRUE(log.Has(LOG_WARNING, "[vanta_host] no effect engine: the picture passes untouched"));
}

TEST_F(EngineWatch, ARunningEngineLeavesFramesToTheModule) {
  EngineStarted(true);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_RUNNING);
  EXPECT_FALSE(vanta_host_is_passing_through());
  EXPECT_FALSE(PassesTheModuleBy());
}

TEST_F(EngineWatch, ALaterStartEndsThePassThrough) {
  LogCapture log;
  EngineStarted(false);
  EngineStarted(true);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_RUNNING);
  EXPECT_FALSE(PassesTheModuleBy());
  EXPECT_TRUE(log.Has(LOG_INFO, "[vanta_host] the picture goes through the effect engine again"));
}

TEST_F(EngineWatch, AMissingEngineThatIsReportedTwiceIsLoggedOnce) {
  LogCapture log;
  EngineStarted(false);
  EngineStarted(false);
  EXPECT_EQ(log.Count("[vanta_host] no effect engine: the picture passes untouched"), 1u);
  EngineStarted(true);
  EXPECT_FALSE(PassesTheModuleBy());
}

TEST_F(EngineWatch, NeverTouchesTheApplicationsJump) {
  EngineStarted(false);
  EXPECT_TRUE(Control().jumps.empty());
  Control().SetFacelessJumpInfo({true, 9});
  EngineStarted(false);
  EngineStarted(true);
  EngineStarted(false);
  vanta_host_detach();
  EXPECT_EQ(Control().jumps.size(), 1u);
  EXPECT_TRUE(Control().GetFacelessJumpInfo().need_jump);
  EXPECT_EQ(Control().GetFacelessJumpInfo().jump_type, 9);
}

TEST_F(EngineWatch, ThePassThroughStandsWhateverTheApplicationsJump) {
  EngineStarted(false);
  Control().SetFacelessJumpInfo({true, 9});
  Control().SetFacelessJumpInfo({false, 0});
  EXPECT_TRUE(PassesTheModuleBy());
}

TEST_F(EngineWatch, TheApplicationMayEndThePassThroughAndGetsItAgain) {
  EngineStarted(false);
  vanta_host_end_pass_through();
  EXPECT_FALSE(vanta_host_is_passing_through());
  EXPECT_FALSE(PassesTheModuleBy());
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_MISSING);
  EngineStarted(false);
  EXPECT_TRUE(PassesTheModuleBy());
}

TEST_F(EngineWatch, EndingAPassThroughThatDoesNotStandChangesNothing) {
  LogCapture log;
  vanta_host_end_pass_through();
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
  EngineStarted(true);
  vanta_host_end_pass_through();
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_RUNNING);
  EXPECT_TRUE(log.Lines().empty());
}

TEST_F(EngineWatch, AFrameThatPassesCarriesItsDumpMark) {
  EngineStarted(false);
  EXPECT_TRUE(vanta_host_mark_next_frame(filter_, 77));
  obs_source_frame frame{};
  filter_video_(obs_obj_get_data(filter_.Get()), &frame);
  EXPECT_EQ(vanta::GetDumpId(&frame), 77u);
}

TEST_F(EngineWatch, OtherFiltersKeepTheirFrames) {
  const auto filter_video = RegisterModule("fake_filter");
  const OBSSourceAutoRelease other = obs_source_create_private("fake_filter", "other", nullptr);
  EngineStarted(false);
  obs_source_frame frame{};
  filter_video(obs_obj_get_data(other.Get()), &frame);
  EXPECT_EQ(TheFakeFilter().dump_ids.size(), 1u);
}

TEST_F(EngineWatch, OtherSignalsSayNothingOfTheEngine) {
  Signal(2, "OnLumivexInit", R"({"createEngine":false})");
  Signal(1, "OnSomethingElse", R"({"createEngine":false})");
  Signal(1, nullptr, R"({"createEngine":false})");
  Signal(1, "OnLumivexInit", nullptr);
  Signal(1, "OnLumivexInit", "");
  Signal(1, "OnLumivexInit", "no json");
  Signal(1, "OnLumivexInit", "{}");
  Signal(1, "OnLumivexInit", R"({"createEngine":"failed","data":"gpu driver is null"})");
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
  EXPECT_FALSE(PassesTheModuleBy());
}

TEST_F(EngineWatch, WithoutAControlObjectPicturesPassToo) {
  LockModuleControl(true);
  EngineStarted(false);
  EXPECT_EQ(vanta_host_get_faceless(), nullptr);
  EXPECT_TRUE(PassesTheModuleBy());
}

TEST_F(EngineWatch, DetachingEndsThePassThroughAndTheWatch) {
  EngineStarted(false);
  vanta_host_detach();
  EXPECT_FALSE(PassesTheModuleBy());
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
  EngineStarted(false);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
}

TEST_F(EngineWatch, AttachingAgainWatchesAgain) {
  vanta_host_detach();
  vanta_host_attach();
  EngineStarted(false);
  EXPECT_TRUE(PassesTheModuleBy());
}

TEST(EngineWatchRestart, ANewStartOfLibobsBeginsAfresh) {
  OpenDisplay();
  ASSERT_TRUE(obs_startup("en-US", nullptr, nullptr));
  RegisterModule();
  EngineStarted(false);
  obs_shutdown();
  HeadlessSession obs;
  EXPECT_TRUE(vanta_host_attach());
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
  EXPECT_FALSE(vanta_host_is_passing_through());
  EngineStarted(false);
  EXPECT_TRUE(vanta_host_is_passing_through());
}

TEST(EngineWatchRestart, NoModuleMeansNoControlObject) {
  HeadlessSession obs;
  EXPECT_TRUE(vanta_host_attach());
  EXPECT_EQ(vanta_host_get_faceless(), nullptr);
}

}  // namespace
