// What the worker's thread does from its start to its end, and what wakes it.
#include "beauty/worker/worker_loop.h"

#include <future>
#include <thread>

#include "beauty/worker/command_forwarder.h"
#include "beauty/worker/delay_reduction.h"
#include "beauty/worker/frame_processing.h"
#include "beauty/worker/interop_requests.h"
#include "beauty/worker/processor_holder.h"
#include "beauty/worker/worker_settings.h"
#include "beauty/worker/worker_state.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "frames/face_beauty_frame_factory.h"
#include "stats/delay_stats.h"

namespace {

using namespace vanta_test;
using Lines = std::vector<LogLine>;

using vanta_test::kError;
using vanta_test::kInfo;

class WorkerLoop : public WorkerFixture {
 protected:
  // The state of a worker whose stop came before it ran: it takes frames, and nothing is done with them.
  void ExpectRunningWithoutAThread() {
    ASSERT_TRUE(log_.WaitFor(kInfo, "[beauty] FaceBeautyFilterWorker stop"));
    EXPECT_TRUE(worker_->IsRunning());
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
    EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
    EXPECT_EQ(scripted_engine::Created(), 0);
    EXPECT_EQ(scripted_engine::FramesProcessed(), 0u);
  }
};

TEST_F(WorkerLoop, ThreadTellsTheHostOfItsLifeInOrder) {
  // One that had to be nudged tells of that, too.
  for (int nudged = -1; nudged != nudges();) {
    nudged = nudges();
    host_double::ClearCalls();
    passes_ = 0;
    StartWorker();
    ASSERT_TRUE(Feed());
    // The pass over a frame, then idle: the host's watchdog sees id 0.
    ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
    StopWorker();
  }
  std::vector<std::string> calls = host_double::Calls();
  std::erase_if(calls, [](const std::string &call) { return call.rfind("SetBeauty", 0) == 0; });
  // A stop wakes the thread once more: it says so before it sees the flag.
  EXPECT_EQ(calls, (std::vector<std::string>{"AddThread",       //
                                             "ThreadId(self)",  // woken
                                             "ThreadTimestamp(now)",
                                             "ThreadTimestamp(now)",  // before the frame
                                             "ThreadSleep",           // after it
                                             "ThreadId(0)",           // idle
                                             "ThreadTimestamp(0)",
                                             "ThreadId(self)",  // woken by the stop
                                             "ThreadTimestamp(now)",
                                             "ThreadId(0)",  // ended
                                             "ThreadTimestamp(0)", "RemoveThread"}));
}

TEST_F(WorkerLoop, ThreadLogsItsLifeInOrder) {
  StartWorker();
  ASSERT_TRUE(Feed());
  StopWorker();
  Lines lines = log_.LinesWith("[beauty]");
  std::erase_if(lines, [](const LogLine &line) {
    return line.text.find(" 0x") != std::string::npos || line.text.find("SetThreadPriority") != std::string::npos;
  });
  lines.erase(lines.begin(), lines.begin() + 3);  // the constructor's
  EXPECT_EQ(lines, (Lines{{kInfo, "[beauty] FaceBeautyFilterWorker start"},
                          {kError, "[beauty] Initialize  fail width 0,height 0"},
                          {kInfo, "[beauty] LumivexProcessor init successful 0 0"},
                          {kInfo, "[beauty] Invalid scaler_"},
                          {kInfo, "[beauty] LumivexProcessor recreate, reset previous"},
                          {kInfo, "[beauty] Initialize  LXEngineConfig"},
                          {kInfo, "[beauty] Initialize  gl_window: (nil)"},
                          {kInfo, "[beauty] LumivexProcessor init "},
                          {kInfo, "[beauty] LumivexProcessor reset"},
                          {kInfo, "[beauty] FaceBeautyFilterWorker stop"}}));
}

TEST_F(WorkerLoop, StopDuringAFrameFinishesItAndTakesNoOther) {
  StartWorker();
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  worker_->stop();
  scripted_engine::Open(Gate::kProcess);
  StopWorker();
  EXPECT_EQ(scripted_engine::FramesProcessed(), 1u);
  EXPECT_EQ(host_double::Count("ThreadSleep"), 0u);  // no pause on the way out
  EXPECT_EQ(scripted_engine::FramesAlive(), 0u);     // what stood in the queues died with the factory
}

TEST_F(WorkerLoop, StopBeforeTheFirstProcessorLeavesStateRunningAndProcessesNothing) {
  // A stop that finds state 0 sets nothing; here it comes before the thread itself.
  MakeWorker();
  worker_->stop();
  ASSERT_TRUE(worker_->start());
  ExpectRunningWithoutAThread();
}

TEST_F(WorkerLoop, StopWhileTheFirstProcessorIsMadeLeavesStateRunningAndProcessesNothing) {
  MakeWorker();
  std::promise<void> making, go_on;
  log_.OnLine("[beauty] LumivexProcessor init successful 0 0", [&] {
    making.set_value();
    go_on.get_future().wait();
  });
  worker_->start();
  making.get_future().wait();
  EXPECT_TRUE(worker_->IsUninited());
  worker_->stop();  // the worker holds its engine lock: a wait would never end
  EXPECT_TRUE(worker_->IsUninited());
  go_on.set_value();
  ExpectRunningWithoutAThread();
}

TEST_F(WorkerLoop, StopWhileAnEngineIsMadeFinishesItsFrameAndTakesNoOther) {
  StartWorker();
  ASSERT_TRUE(HoldAt(Gate::kCreate));
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  worker_->stop();  // the gate is still closed: a wait would never end
  scripted_engine::Open(Gate::kCreate);
  ASSERT_TRUE(log_.WaitFor(kInfo, "[beauty] FaceBeautyFilterWorker stop"));
  EXPECT_FALSE(worker_->IsRunning());
  EXPECT_EQ(scripted_engine::FramesProcessed(), 1u);
}

TEST_F(WorkerLoop, EngineDiesOnTheThreadThatMadeIt) {
  StartWorker();
  ASSERT_TRUE(Feed());
  StopWorker();
  std::thread::id made, destroyed;
  for (const EngineCall &call : scripted_engine::Calls()) {
    if (call.text.rfind("createEngine", 0) == 0) made = call.thread;
    if (call.text == "~LumivexSync()") destroyed = call.thread;
  }
  EXPECT_NE(made, std::thread::id());
  EXPECT_NE(made, std::this_thread::get_id());
  EXPECT_EQ(made, destroyed);
}

class RunningWorkerLoop : public WorkerFixture {
 protected:
  void SetUp() override { StartWorker(); }
};

TEST_F(RunningWorkerLoop, WakeWithoutAFrameIsToldToTheHostAsAnIdlePass) {
  host_double::ClearCalls();
  Nudge();
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  EXPECT_EQ(host_double::Count("ThreadSleep"), 0u);
}

// Wake-ups: neither of these may be helped by a nudge of the fixture.

TEST_F(RunningWorkerLoop, NextFrameRepairsALostWake) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  MovableClock::LoseNotifications(1);
  ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  EXPECT_TRUE(WaitUntil([&] {
    worker_->EnqueueFrame(frame.get());
    return host_double::Count("ThreadSleep") >= 3;
  }));
}

TEST_F(RunningWorkerLoop, RefusedFrameRepairsALostWakeToo) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  MovableClock::LoseNotifications(3);
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  // One stands in the output, three in the input: from here on every frame is refused.
  EXPECT_TRUE(WaitUntil([&] {
    EXPECT_FALSE(worker_->EnqueueFrame(frame.get()));
    return host_double::Count("ThreadSleep") >= 4;
  }));
}

TEST_F(RunningWorkerLoop, FramesThatArriveDuringAPassAreTakenWithoutANewWait) {
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  host_double::ClearCalls();
  scripted_engine::Open(Gate::kProcess);
  ASSERT_TRUE(WaitForPasses(4));
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  EXPECT_EQ(host_double::Count("ThreadId(self)"), 0u) << "the thread went back to its wait in between";
}

// ---- On the test's own thread ----

class WorkerLoopAlone : public testing::Test {
 protected:
  void PutFrame() {
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
    frames_.PutInput(frames_.TakeFreeFrame(kWidth, kHeight), frame.get());
  }

  LogCapture log_;
  vanta::WorkerState state_;
  vanta::WorkerSettings settings_{nullptr};
  vanta::DelayStats stats_;
  vanta::ProcessorHolder processor_{settings_, stats_, state_};
  vanta::FaceBeautyFrameFactory frames_;
  vanta::CommandForwarder commands_{processor_, state_};
  vanta::InteropRequests requests_;
  vanta::FrameProcessing processing_{processor_, requests_, stats_};
  vanta::DelayReduction reduction_{frames_, stats_};
  vanta::WorkerLoop loop_{{state_, frames_, commands_, processing_, reduction_, processor_, stats_}};
};

TEST_F(WorkerLoopAlone, StopInTheFirstFrameLeavesTheSecondWhereItIs) {
  scripted_engine::Change(
      [this](EngineScript &script) { script.on_frame = [this](LX::FrameData &) { state_.Stop(); }; });
  PutFrame();
  PutFrame();
  loop_.Run();
  EXPECT_EQ(scripted_engine::FramesProcessed(), 1u);
  EXPECT_EQ(frames_.OutputCount(), 1u);
}

TEST_F(WorkerLoopAlone, CommandsRunAheadOfTheirFrame) {
  std::string order;
  scripted_engine::Change([&](EngineScript &script) {
    script.on_frame = [&](LX::FrameData &) {
      order += "frame ";
      state_.Stop();
    };
  });
  commands_.Forward([&](vanta::LumivexProcessor &) { order += "command "; });
  PutFrame();
  loop_.Run();
  EXPECT_EQ(order, "command frame ");
}

TEST_F(WorkerLoopAlone, ProcessorIsGoneWhenTheLoopEnds) {
  state_.Stop();
  loop_.Run();
  EXPECT_FALSE(processor_.TakeStats());
  EXPECT_EQ(log_.Count("[beauty] LumivexProcessor reset"), 1u);
}

}  // namespace
