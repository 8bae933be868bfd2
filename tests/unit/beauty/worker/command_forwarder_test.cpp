// Commands on their way to the engine: queued ahead of the next frame, or at once.
#include "beauty/worker/command_forwarder.h"

#include <atomic>
#include <string>
#include <thread>

#include "beauty/worker/processor_holder.h"
#include "beauty/worker/worker_settings.h"
#include "beauty/worker/worker_state.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/wait.h"
#include "platform/thread.h"
#include "stats/delay_stats.h"

namespace {

using namespace vanta_test;
using Texts = std::vector<std::string>;

class CommandForwarder : public WorkerFixture {
 protected:
  void SetUp() override { StartWorker(); }
  void SetAsync(bool on) {
    host_double::Change([on](HostSwitches &switches) { switches.async_beauty = on; });
  }
};

TEST_F(CommandForwarder, QueuedCommandWaitsForTheNextFrame) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.5F);
  // The wake runs no task: the thread finds no frame and goes back to its wait.
  while (host_double::Count("ThreadTimestamp(0)") < 2) Nudge();
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 0u);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity(0.50)"), 1u);
}

TEST_F(CommandForwarder, BurstRunsInOrderBeforeTheFrame) {
  ASSERT_TRUE(Feed());
  scripted_engine::ClearCalls();
  worker_->commands().Command(&IFaceless::BeginBatchCommand);
  for (int i = 0; i < 3; ++i)
    worker_->commands().Command(&IFaceless::SetBeautyIntensityWithType, LXBeautyType(7), 0.1F * static_cast<float>(i));
  worker_->commands().Command(&IFaceless::EndBatchCommand);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Texts(1),
            (Texts{"beginBatchCommand()", "setBeautyIntensityWithType(7, 0.00)", "setBeautyIntensityWithType(7, 0.10)",
                   "setBeautyIntensityWithType(7, 0.20)", "endBatchCommand()",
                   "processFrameData(64x48, format -1, rotation 0, flip 0)"}));
}

TEST_F(CommandForwarder, QueuedCommandRunsOnTheWorkersThread) {
  ASSERT_TRUE(Feed());
  worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.5F);
  ASSERT_TRUE(Feed());
  std::thread::id command, frame;
  for (const EngineCall &call : scripted_engine::Calls()) {
    if (call.text == "setLookupIntensity(0.50)") command = call.thread;
    if (call.text.rfind("processFrameData", 0) == 0) frame = call.thread;
  }
  EXPECT_NE(command, std::thread::id()) << "the command never came";
  EXPECT_NE(command, std::this_thread::get_id());
  EXPECT_EQ(command, frame);
}

TEST_F(CommandForwarder, DirectCommandRunsAtOnceOnTheCallersThread) {
  ASSERT_TRUE(Feed());
  SetAsync(false);
  worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.5F);
  const std::vector<EngineCall> calls = scripted_engine::Calls();
  EXPECT_EQ(calls.back().text, "setLookupIntensity(0.50)");
  EXPECT_EQ(calls.back().thread, std::this_thread::get_id());
}

TEST_F(CommandForwarder, DirectCommandWaitsForTheFrameInProgress) {
  ASSERT_TRUE(Feed());
  SetAsync(false);
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  std::atomic<uint64_t> thread{0};
  std::atomic<bool> returned{false};
  std::thread control([&] {
    thread = vanta::CurrentThreadId();
    worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.5F);
    returned = true;
  });
  EXPECT_TRUE(WaitUntil([&] { return returned || (thread != 0 && IsAsleep(thread)); }, "the command's wait"));
  EXPECT_FALSE(returned);
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 0u);
  scripted_engine::Open(Gate::kProcess);
  control.join();
  EXPECT_EQ(scripted_engine::Texts().back(), "setLookupIntensity(0.50)");
}

TEST_F(CommandForwarder, QueuedCommandDoesNotWaitForTheFrameInProgress) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.5F);  // with the gate closed, a wait would never end
  scripted_engine::Open(Gate::kProcess);
}

TEST_F(CommandForwarder, DirectCommandCanOvertakeQueuedOnes) {
  ASSERT_TRUE(Feed());
  scripted_engine::ClearCalls();
  worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.1F);
  SetAsync(false);
  worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.2F);
  SetAsync(true);
  ASSERT_TRUE(Feed());
  const Texts texts = CommandsOf(1);
  EXPECT_EQ(texts, (Texts{"setLookupIntensity(0.20)", "setLookupIntensity(0.10)"}));
}

TEST_F(CommandForwarder, CommandBeforeTheFirstProcessorIsLostWhenDirect) {
  StopWorker();
  host_double::ClearCalls();
  passes_ = 0;
  SetAsync(false);
  MakeWorker();
  worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.5F);
  StartWorker();
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 0u);
}

TEST_F(CommandForwarder, CommandAheadOfARecreationDiesWithTheOldProcessor) {
  ASSERT_TRUE(Feed());
  worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.5F);
  ASSERT_TRUE(Feed(2, 32, 16));
  EXPECT_EQ(CommandsOf(1), (Texts{"setLookupIntensity(0.50)", "~LumivexSync()"}));
  EXPECT_EQ(CommandsOf(2), Texts{});
}

TEST_F(CommandForwarder, ArgumentsAreCopiedWhenTheCommandIsGiven) {
  ASSERT_TRUE(Feed());
  std::string json = "first";
  worker_->commands().Command(&IFaceless::SetBoomGameData, json);
  json = "changed";
  ASSERT_TRUE(Feed());
  EXPECT_EQ(CommandsOf(1), (Texts{"setBoomGameData(first)"}));
}

TEST_F(CommandForwarder, CommandGivenFromATaskWaitsForTheFrameAfter) {
  ASSERT_TRUE(Feed());
  scripted_engine::Change([&](EngineScript &script) {
    script.on_frame = [&](LX::FrameData &) { worker_->commands().Command(&IFaceless::SetLookupIntensity, 0.5F); };
  });
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 0u);
  scripted_engine::Change([](EngineScript &script) { script.on_frame = nullptr; });
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Count("setLookupIntensity"), 1u);
}

// ---- Without a thread ----

class CommandForwarderAlone : public testing::Test {
 protected:
  void Forward(char name) {
    commands_.Forward([this, name](vanta::LumivexProcessor &) { calls_ += name; });
  }

  vanta::WorkerState state_;
  vanta::WorkerSettings settings_{nullptr};
  vanta::DelayStats stats_;
  vanta::ProcessorHolder processor_{settings_, stats_, state_};
  vanta::CommandForwarder commands_{processor_, state_};
  std::string calls_;
};

TEST_F(CommandForwarderAlone, QueuedCallsRunInTheOrderOfTheirComing) {
  processor_.CreateFirst();
  for (const char name : {'a', 'b', 'c'}) Forward(name);
  EXPECT_EQ(calls_, "");
  commands_.RunTasks();
  EXPECT_EQ(calls_, "abc");
}

TEST_F(CommandForwarderAlone, CallRunsOnce) {
  processor_.CreateFirst();
  Forward('a');
  commands_.RunTasks();
  commands_.RunTasks();
  EXPECT_EQ(calls_, "a");
}

TEST_F(CommandForwarderAlone, CallThatComesDuringARunWaitsForTheNext) {
  processor_.CreateFirst();
  commands_.Forward([this](vanta::LumivexProcessor &) { Forward('b'); });
  commands_.RunTasks();
  EXPECT_EQ(calls_, "");
  commands_.RunTasks();
  EXPECT_EQ(calls_, "b");
}

TEST_F(CommandForwarderAlone, QueuedCallWithoutAProcessorIsLost) {
  Forward('a');
  commands_.RunTasks();
  processor_.CreateFirst();
  commands_.RunTasks();
  EXPECT_EQ(calls_, "");
}

TEST_F(CommandForwarderAlone, OptionIsAskedForEachCall) {
  processor_.CreateFirst();
  Forward('a');
  host_double::Change([](HostSwitches &switches) { switches.async_beauty = false; });
  Forward('b');
  EXPECT_EQ(calls_, "b");
  commands_.RunTasks();
  EXPECT_EQ(calls_, "ba");
}

}  // namespace
