#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <obs.hpp>

#include "obs_session.h"
#include "paper_control.h"
#include "paper_filter.h"
#include "registration.h"
#include "support/log_capture.h"
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

void RegisterModule() {
  const HostSourceInfo record = PaperRecord("paper_filter");
  __wrap_obs_register_source_s(reinterpret_cast<const obs_source_info *>(&record), sizeof(record));
}

class EngineWatch : public testing::Test {
 protected:
  EngineWatch() { RegisterModule(); }

  ObsSession obs_;
};

TEST_F(EngineWatch, KnowsNothingAtFirst) {
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
}

TEST_F(EngineWatch, FindsTheControlObject) {
  EXPECT_EQ(vanta_host_get_faceless(), static_cast<ILumivex *>(&Control()));
}

TEST_F(EngineWatch, AMissingEngineSetsTheJump) {
  LogCapture log;
  EngineStarted(false);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_MISSING);
  ASSERT_EQ(Control().jumps.size(), 1u);
  EXPECT_TRUE(Control().jumps[0].need_jump);
  EXPECT_EQ(Control().jumps[0].jump_type, VANTA_JUMP_TYPE_NO_ENGINE);
  EXPECT_TRUE(log.Has(LOG_WARNING, "[vanta_host] no effect engine: the picture passes untouched"));
}

TEST_F(EngineWatch, ARunningEngineLeavesTheJumpAlone) {
  EngineStarted(true);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_RUNNING);
  EXPECT_TRUE(Control().jumps.empty());
}

TEST_F(EngineWatch, ALaterStartTakesTheJumpBack) {
  EngineStarted(false);
  EngineStarted(true);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_RUNNING);
  EXPECT_FALSE(Control().GetFacelessJumpInfo().need_jump);
}

TEST_F(EngineWatch, AMissingEngineThatIsReportedTwiceSetsTheJumpOnce) {
  EngineStarted(false);
  EngineStarted(false);
  EXPECT_EQ(Control().jumps.size(), 1u);
  EngineStarted(true);
  EXPECT_FALSE(Control().GetFacelessJumpInfo().need_jump);
}

TEST_F(EngineWatch, TheApplicationsJumpStays) {
  Control().SetFacelessJumpInfo({true, 9});
  EngineStarted(false);
  EngineStarted(true);
  EXPECT_EQ(Control().jumps.size(), 1u);
  EXPECT_TRUE(Control().GetFacelessJumpInfo().need_jump);
  EXPECT_EQ(Control().GetFacelessJumpInfo().jump_type, 9);
}

TEST_F(EngineWatch, AJumpThatTheApplicationPutInPlaceOfTheHostsStays) {
  EngineStarted(false);
  Control().SetFacelessJumpInfo({true, 9});
  EngineStarted(true);
  EXPECT_EQ(Control().GetFacelessJumpInfo().jump_type, 9);
}

TEST_F(EngineWatch, TheApplicationMayTakeTheHostsJumpBackAndGetsItAgain) {
  EngineStarted(false);
  Control().SetFacelessJumpInfo({false, 0});
  EngineStarted(false);
  EXPECT_TRUE(Control().GetFacelessJumpInfo().need_jump);
}

TEST_F(EngineWatch, AnApplicationsJumpOfTheSameTypeIsNotTheHosts) {
  Control().SetFacelessJumpInfo({true, VANTA_JUMP_TYPE_NO_ENGINE});
  EngineStarted(true);
  EXPECT_TRUE(Control().GetFacelessJumpInfo().need_jump);
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
  EXPECT_TRUE(Control().jumps.empty());
}

TEST_F(EngineWatch, WithoutAControlObjectOnlyTheStateIsKept) {
  LockControlDoor(true);
  LogCapture log;
  EngineStarted(false);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_MISSING);
  EXPECT_EQ(vanta_host_get_faceless(), nullptr);
  EXPECT_TRUE(log.Has(LOG_WARNING, "[vanta_host] no effect engine, and no control object to let the picture pass"));
  LockControlDoor(false);
  EngineStarted(false);
  EXPECT_TRUE(Control().GetFacelessJumpInfo().need_jump);
}

TEST_F(EngineWatch, DetachingTakesTheHostsJumpBackAndEndsTheWatch) {
  EngineStarted(false);
  vanta_host_detach();
  EXPECT_FALSE(Control().GetFacelessJumpInfo().need_jump);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
  EngineStarted(false);
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
}

TEST_F(EngineWatch, AttachingAgainWatchesAgain) {
  vanta_host_detach();
  vanta_host_attach();
  EngineStarted(false);
  EXPECT_EQ(Control().jumps.size(), 1u);
}

TEST(EngineWatchRestart, ANewStartOfLibobsBeginsAfresh) {
  OpenDisplay();
  ASSERT_TRUE(obs_startup("en-US", nullptr, nullptr));
  RegisterModule();
  EngineStarted(false);
  obs_shutdown();
  ObsSession obs;
  EXPECT_TRUE(vanta_host_attach());
  EXPECT_EQ(vanta_host_get_engine_state(), VANTA_ENGINE_UNKNOWN);
  EXPECT_FALSE(Control().GetFacelessJumpInfo().need_jump);
  EngineStarted(false);
  EXPECT_TRUE(Control().GetFacelessJumpInfo().need_jump);
}

TEST(EngineWatchRestart, NoModuleMeansNoControlObject) {
  ObsSession obs;
  EXPECT_TRUE(vanta_host_attach());
  EXPECT_EQ(vanta_host_get_faceless(), nullptr);
}

}  // namespace
