#include "beauty/worker/worker_state.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "fakes/clock/movable_clock.h"
#include "fixtures/frames/host_frame.h"
#include "fixtures/process/wait.h"
#include "frames/face_beauty_frame_factory.h"

namespace {

using namespace vanta_test;
using vanta::FaceBeautyFrameFactory;

void PutFrame(FaceBeautyFrameFactory &frames) {
  const HostFrame frame = MakeFlatFrame(64, 48);
  frames.PutInput(frames.TakeFreeFrame(64, 48), frame.get());
}

// A thread in WaitForInput.
class WaitingThread {
 public:
  WaitingThread(vanta::WorkerState &state, const FaceBeautyFrameFactory &frames)
      : thread_([&] {
          state.WaitForInput(frames);
          back_ = true;
        }) {}
  ~WaitingThread() { thread_.join(); }
  bool back() const { return back_; }

 private:
  std::atomic<bool> back_{false};
  std::thread thread_;
};

TEST(WorkerState, BeginsUninitialised) {
  const vanta::WorkerState state;
  EXPECT_TRUE(state.IsUninited());
  EXPECT_FALSE(state.IsRunning());
  EXPECT_FALSE(state.StopRequested());
}

TEST(WorkerState, StopEndsARun) {
  vanta::WorkerState state;
  state.SetRunning();
  EXPECT_TRUE(state.IsRunning());
  state.Stop();
  EXPECT_FALSE(state.IsRunning());
  EXPECT_FALSE(state.IsUninited());
  EXPECT_TRUE(state.StopRequested());
}

TEST(WorkerState, StopBeforeTheRunIsOvertakenByIt) {
  vanta::WorkerState state;
  state.Stop();
  EXPECT_TRUE(state.IsUninited());
  state.SetRunning();
  EXPECT_TRUE(state.IsRunning());
  EXPECT_TRUE(state.StopRequested());
}

// Each of these would not return if it waited.

TEST(WorkerState, NoWaitWhereThereIsInput) {
  vanta::WorkerState state;
  FaceBeautyFrameFactory frames;
  PutFrame(frames);
  state.WaitForInput(frames);
}

TEST(WorkerState, NoWaitAfterAStop) {
  vanta::WorkerState state;
  const FaceBeautyFrameFactory frames;
  state.Stop();
  state.WaitForInput(frames);
}

TEST(WorkerState, WakeEndsAWait) {
  vanta::WorkerState state;
  const FaceBeautyFrameFactory frames;
  const WaitingThread waiting(state, frames);
  EXPECT_TRUE(WaitUntil(
      [&] {
        state.Wake();  // again and again: one that comes before the wait is lost
        return waiting.back();
      },
      "the wait's end"));
  state.Stop();
}

TEST(WorkerState, OneStopEndsAWaitWheneverItComes) {
  for (int i = 0; i < 200; ++i) {
    vanta::WorkerState state;
    const FaceBeautyFrameFactory frames;
    const WaitingThread waiting(state, frames);
    state.Stop();
    ASSERT_TRUE(WaitUntil([&] { return waiting.back(); }, "the wait's end")) << i;
  }
}

}  // namespace
