#include "registration/frame_gate.h"

#include <deque>
#include <vector>

#include <gtest/gtest.h>

namespace {

using vanta_host::FrameGate;

// A module that gives each frame's first byte back a few calls later, as its worker has it ready.
struct LateModule {
  std::deque<uint8_t> under_way;
  size_t delay = 2;
  std::vector<const obs_source_frame *> seen;

  static obs_source_frame *Filter(void *data, obs_source_frame *frame) {
    auto &module = *static_cast<LateModule *>(data);
    module.seen.push_back(frame);
    module.under_way.push_back(frame->data[0][0]);
    if (module.under_way.size() <= module.delay) return nullptr;
    frame->data[0][0] = module.under_way.front();
    module.under_way.pop_front();
    return frame;
  }
};

class Gate : public testing::Test {
 protected:
  Gate() : frame_(obs_source_frame_create(VIDEO_FORMAT_NV12, 16, 16)) {}
  ~Gate() override { obs_source_frame_destroy(frame_); }

  // The first byte of what comes out for a frame that begins with `value`; -1 for nothing.
  int Pass(bool idle, uint64_t changes, uint8_t value) {
    frame_->data[0][0] = value;
    const obs_source_frame *given = gate_.Filter(idle, changes, LateModule::Filter, &module_, frame_);
    return given ? given->data[0][0] : -1;
  }

  LateModule module_;
  FrameGate gate_{0};
  obs_source_frame *frame_;
};

TEST_F(Gate, LetsTheModuleWorkWhileTheLookIsOn) {
  EXPECT_EQ(Pass(false, 0, 1), -1);
  EXPECT_EQ(Pass(false, 0, 2), -1);
  EXPECT_EQ(Pass(false, 0, 3), 1);
  EXPECT_EQ(module_.seen.size(), 3u);
  EXPECT_FALSE(gate_.PassesBy());
}

TEST_F(Gate, KeepsFramesFromTheModuleWhileTheLookIsOff) {
  for (uint8_t i = 1; i < 10; ++i) EXPECT_EQ(Pass(true, 0, i), i);
  EXPECT_TRUE(module_.seen.empty());
  EXPECT_TRUE(gate_.PassesBy());
}

TEST_F(Gate, GivesTheModuleFramesOfItsOwnForAChangeAndNoMore) {
  for (uint8_t i = 1; i < 10; ++i) EXPECT_EQ(Pass(true, 1, i), i);
  EXPECT_EQ(module_.seen.size(), 2u);
  for (const obs_source_frame *seen : module_.seen) EXPECT_NE(seen, frame_);
  for (uint8_t i = 1; i < 10; ++i) Pass(true, 2, i);
  EXPECT_EQ(module_.seen.size(), 4u);
}

TEST_F(Gate, ShowsNothingThatWasUnderWayWhenTheLookWentOff) {
  for (uint8_t i = 1; i <= 3; ++i) Pass(false, 0, i);  // 2 and 3 are under way
  for (int i = 0; i < 20; ++i) Pass(true, 1, 100);
  std::vector<int> shown;
  for (uint8_t i = 201; i < 215; ++i) shown.push_back(Pass(false, 2, i));
  for (const int value : shown) EXPECT_GE(value, 201);
  EXPECT_FALSE(gate_.PassesBy());
  EXPECT_EQ(shown.back(), 212);  // the module's again, two frames late
}

TEST_F(Gate, ShowsNothingOldHoweverLateTheModuleBringsIt) {
  for (uint8_t i = 1; i <= 3; ++i) Pass(false, 0, i);  // 2 and 3 are under way
  Pass(true, 0, 100);
  module_.delay = 4;
  std::vector<int> shown;
  for (uint8_t i = 201; i < 215; ++i) shown.push_back(Pass(false, 0, i));
  for (const int value : shown) EXPECT_GE(value, 201);
  EXPECT_EQ(shown.back(), 210);  // the module's again, four frames late
}

TEST_F(Gate, GoesOnAtOnceWhereNothingWasUnderWay) {
  module_.delay = 1;
  Pass(true, 0, 1);
  EXPECT_EQ(Pass(false, 1, 2), 2);  // the module has nothing yet
  EXPECT_EQ(Pass(false, 1, 3), 2);
}

}  // namespace
