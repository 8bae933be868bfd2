// The path of a frame through the worker.
#include <chrono>
#include <cstring>

#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_filter/module/host_frame.h"

namespace {

using namespace vanta_test;
using namespace std::chrono_literals;

using vanta_test::kInfo;
using vanta_test::kWarning;

class WorkerFrames : public WorkerFixture {
 protected:
  void SetUp() override { StartWorker(); }
};

TEST_F(WorkerFrames, ProcessedFrameComesBackWithItsPixels) {
  scripted_engine::Change([](EngineScript &script) {
    script.on_frame = [](LX::FrameData &frame) { std::memset(frame.planes[0], 99, size_t{kWidth} * kHeight); };
  });
  ASSERT_TRUE(Feed(1, kWidth, kHeight, 20));
  const Dequeued out = Dequeue();
  ASSERT_TRUE(out.success);
  EXPECT_EQ(out.type, 1);
  EXPECT_EQ(out.frame->data[0][0], 99);
  EXPECT_EQ(out.frame->data[0][size_t{kWidth} * kHeight - 1], 99);
  EXPECT_EQ(out.frame->data[1][0], 128);
}

TEST_F(WorkerFrames, FramesComeBackOldestFirst) {
  for (uint8_t i = 1; i <= 3; ++i) ASSERT_TRUE(Feed(i, kWidth, kHeight, i));
  for (uint8_t i = 1; i <= 3; ++i) {
    const Dequeued out = Dequeue();
    ASSERT_TRUE(out.success);
    EXPECT_EQ(out.frame->data[0][0], i);
  }
  EXPECT_FALSE(Dequeue().success);
}

TEST_F(WorkerFrames, DequeueWithNothingFinishedLeavesTheTypeAlone) {
  const Dequeued out = Dequeue();
  EXPECT_FALSE(out.success);
  EXPECT_EQ(out.type, 2);
  EXPECT_EQ(out.bgra, nullptr);
}

TEST_F(WorkerFrames, FifthFrameInFlightIsRefused) {
  scripted_engine::Close(Gate::kProcess);
  const TestFrame frame = MakeFrame(kWidth, kHeight);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
  EXPECT_FALSE(worker_->EnqueueFrame(frame.get()));
  scripted_engine::Open(Gate::kProcess);
  ASSERT_TRUE(WaitForPasses(4));
  EXPECT_FALSE(worker_->EnqueueFrame(frame.get()));  // all four stand in the output
  EXPECT_TRUE(Dequeue().success);
  EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
}

TEST_F(WorkerFrames, EnqueueReturnsWhileTheEngineIsBusy) {
  scripted_engine::Close(Gate::kProcess);
  const TestFrame frame = MakeFrame(kWidth, kHeight);
  EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
  ASSERT_TRUE(scripted_engine::WaitAt(Gate::kProcess));
  EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
  EXPECT_FALSE(Dequeue().success);
}

TEST_F(WorkerFrames, EngineSeesTheFrameAsTheHostSentIt) {
  LX::FrameData seen;
  scripted_engine::Change([&](EngineScript &script) { script.on_frame = [&](LX::FrameData &frame) { seen = frame; }; });
  MovableClock::SetSystemMs(1'700'000'000'123);
  ASSERT_TRUE(Feed(4711));
  EXPECT_EQ(seen.timestamp, 4711u);
  EXPECT_EQ(seen.stamp, 1'700'000'000'123u);
  EXPECT_EQ(seen.width, static_cast<int>(kWidth));
  EXPECT_EQ(seen.height, static_cast<int>(kHeight));
  EXPECT_EQ(seen.color_code, 2);  // the conversion's, not the enqueue's preset
  EXPECT_EQ(seen.word, 1);
  EXPECT_EQ(seen.layout_code, 1);
  EXPECT_EQ(seen.dump_flag, 0);
}

TEST_F(WorkerFrames, PooledFrameOfAnotherSizeIsAWarningAndTheFrameGoesOn) {
  constexpr char kWarningText[] = "[beauty] intput frame size != need size!";
  for (const bool wider : {true, false}) {
    SCOPED_TRACE(wider ? "wider" : "higher");
    log_.Clear();
    scripted_engine::Change([&, asked = 0](EngineScript &script) {
      script.pool_size = [=](int &width, int &height) mutable {
        if (asked++ == 0) (wider ? width : height) += 2;
      };
    });
    ASSERT_TRUE(Feed(1, kWidth, kHeight, 33));
    EXPECT_EQ(log_.LinesWith(kWarningText), (std::vector<LogLine>{{kWarning, kWarningText}}));
    const Dequeued out = Dequeue();
    ASSERT_TRUE(out.success);
    EXPECT_EQ(out.frame->data[0][0], 33);
  }
}

TEST_F(WorkerFrames, FrameUnderTwoPixelsNeverReachesTheEngine) {
  ASSERT_TRUE(Feed(1, 1, 48));
  ASSERT_TRUE(Feed(1, 64, 1));
  ASSERT_TRUE(Feed(1, 1, 1));
  EXPECT_EQ(scripted_engine::Created(), 0);
  EXPECT_FALSE(Dequeue(1, 1).success);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Feed(2)) << "a carrier was lost";
}

TEST_F(WorkerFrames, SmallestFrameReachesTheEngine) {
  ASSERT_TRUE(Feed(1, 2, 2));
  EXPECT_EQ(scripted_engine::FramesProcessed(), 1u);
}

TEST_F(WorkerFrames, FirstFrameAlwaysMakesTheEngine) {
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Created(), 1);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Created(), 1);
}

TEST_F(WorkerFrames, NewSizeRecreatesTheEngineOnItsFirstFrame) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed(2, 32, 16));
  EXPECT_EQ(scripted_engine::Created(), 2);
  EXPECT_EQ(scripted_engine::Alive(), 1);
  EXPECT_EQ(scripted_engine::Count("createEngine(/fake/vanta_filter/file, 0, 32, 16)"), 1u);
}

TEST_F(WorkerFrames, FinishedFramesOfTheOldSizeAreRecycledOneACall) {
  ASSERT_TRUE(Feed(1, kWidth, kHeight, 1));
  ASSERT_TRUE(Feed(2, kWidth, kHeight, 2));
  ASSERT_TRUE(Feed(3, 32, 16, 3));
  EXPECT_FALSE(Dequeue(32, 16).success);
  EXPECT_FALSE(Dequeue(32, 16).success);
  EXPECT_EQ(log_.CountWith("[beauty] intput frame size != need size!"), 2u);
  const Dequeued out = Dequeue(32, 16);
  EXPECT_TRUE(out.success);
  EXPECT_EQ(out.frame->data[0][0], 3);
}

TEST_F(WorkerFrames, PixelBufferIsHandedOnBySharedPointer) {
  for (const int32_t format : {3, 4}) {
    scripted_engine::Change([&](EngineScript &script) { script.out_format = format; });
    ASSERT_TRUE(Feed(1, kWidth, kHeight, 50));
    const Dequeued out = Dequeue();
    EXPECT_TRUE(out.success);
    EXPECT_EQ(out.type, format);
    ASSERT_NE(out.bgra, nullptr);
    EXPECT_EQ(out.bgra->planes[0][0], 50);
    EXPECT_EQ(out.frame->data[0][0], 0) << "the host's frame must stay untouched";
  }
}

TEST_F(WorkerFrames, SharedTextureIsHandedOnAsTypeFive) {
  scripted_engine::Change([](EngineScript &script) { script.out_format = 5; });
  ASSERT_TRUE(Feed());
  const Dequeued out = Dequeue();
  EXPECT_TRUE(out.success);
  EXPECT_EQ(out.type, 5);
  EXPECT_NE(out.bgra, nullptr);
}

TEST_F(WorkerFrames, EveryOtherPixelFormatIsAMemoryFrame) {
  for (const int32_t format : {-1, 0, 1, 2, 6, 100}) {
    scripted_engine::Change([&](EngineScript &script) { script.out_format = format; });
    ASSERT_TRUE(Feed());
    const Dequeued out = Dequeue();
    EXPECT_TRUE(out.success) << format;
    EXPECT_EQ(out.type, 1) << format;
    EXPECT_EQ(out.bgra, nullptr) << format;
  }
}

TEST_F(WorkerFrames, FailedCopyIntoTheHostsFrameSetsNothing) {
  ASSERT_TRUE(Feed());
  TestFrame frame = MakeFrame(kWidth, kHeight);
  uint8_t *const plane = frame->data[0];
  frame->data[0] = nullptr;
  int32_t type = 2;
  std::shared_ptr<LX::FrameData> bgra;
  EXPECT_FALSE(worker_->DequeueFrame(frame.get(), &type, &bgra));
  frame->data[0] = plane;
  EXPECT_EQ(type, 2);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Feed(2)) << "a carrier was lost";
}

TEST_F(WorkerFrames, EnginesOwnFrameTakesThePlaceOfTheInput) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kOtherFrame; });
  ASSERT_TRUE(Feed(1, kWidth, kHeight, 42));
  const Dequeued out = Dequeue();
  EXPECT_TRUE(out.success);
  EXPECT_EQ(out.frame->data[0][0], 42);
}

TEST_F(WorkerFrames, FrameThatTheEngineRefusesIsRecycled) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  for (int i = 0; i < 6; ++i) ASSERT_TRUE(Feed()) << "a carrier was lost";
  EXPECT_FALSE(Dequeue().success);
}

TEST_F(WorkerFrames, OneFailureInFiveIsLogged) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count("[beauty] render failed"), 0u);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count("[beauty] render failed"), 1u);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] render failed"));
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count("[beauty] render failed"), 2u);
}

TEST_F(WorkerFrames, FailuresAreCountedOverAllWorkers) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(Feed());
  StopWorker();
  host_double::ClearCalls();
  passes_ = 0;
  StartWorker();
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count("[beauty] render failed"), 1u);
}

TEST_F(WorkerFrames, WithoutAnEngineFramesAreRefusedAndNothingIsRecreated) {
  scripted_engine::Change([](EngineScript &script) { script.create = false; });
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(Feed());
  EXPECT_TRUE(worker_->IsRunning());
  EXPECT_FALSE(Dequeue().success);
  EXPECT_EQ(scripted_engine::Count("createEngine"), 1u) << "the size matches: no second try";
}

TEST_F(WorkerFrames, FirstSuccessIsLoggedOnceWithTheTimeSinceStart) {
  EXPECT_FALSE(Dequeue().success);
  EXPECT_FALSE(log_.HasText("first frame dequeue"));
  MovableClock::Advance(1234567us);
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(Dequeue().success);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] FaceBeautyFilterWorker first frame dequeue success cost [1234567]"));
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(Dequeue().success);
  EXPECT_EQ(log_.CountWith("first frame dequeue"), 1u);
}

TEST_F(WorkerFrames, WakeWithoutAFrameIsToldToTheHostAsAnIdlePass) {
  host_double::ClearCalls();
  Nudge();
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  EXPECT_EQ(host_double::Count("ThreadSleep"), 0u);
}

TEST_F(WorkerFrames, FrameOfAFormatThatTheScalerLacksIsNotProcessed) {
  TestFrame frame = MakeFrame(kWidth, kHeight);
  frame->format = static_cast<video_format>(31);  // the enumeration has room up to here
  EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
  EXPECT_TRUE(log_.Has(kWarning, "[beauty] create ffmpeg scaler failed"));
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Feed()) << "a carrier was lost";
}

// Wake-ups: neither of these may be helped by a nudge of the bench.

TEST_F(WorkerFrames, NextFrameRepairsALostWake) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  const TestFrame frame = MakeFrame(kWidth, kHeight);
  MovableClock::LoseNotifications(1);
  ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  EXPECT_TRUE(WaitUntil([&] {
    worker_->EnqueueFrame(frame.get());
    return host_double::Count("ThreadSleep") >= 3;
  }));
}

TEST_F(WorkerFrames, RefusedFrameRepairsALostWakeToo) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  const TestFrame frame = MakeFrame(kWidth, kHeight);
  MovableClock::LoseNotifications(3);
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  // One stands in the output, three in the input: from here on every frame is refused.
  EXPECT_TRUE(WaitUntil([&] {
    EXPECT_FALSE(worker_->EnqueueFrame(frame.get()));
    return host_double::Count("ThreadSleep") >= 4;
  }));
}

TEST_F(WorkerFrames, FramesThatArriveDuringAPassAreTakenWithoutANewWait) {
  scripted_engine::Close(Gate::kProcess);
  const TestFrame frame = MakeFrame(kWidth, kHeight);
  ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  ASSERT_TRUE(scripted_engine::WaitAt(Gate::kProcess));
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  host_double::ClearCalls();
  scripted_engine::Open(Gate::kProcess);
  ASSERT_TRUE(WaitForPasses(4));
  ASSERT_TRUE(host_double::WaitForCalls("ThreadTimestamp(0)", 1));
  EXPECT_EQ(host_double::Count("ThreadId(self)"), 0u) << "the thread went back to its wait in between";
}

TEST_F(WorkerFrames, SlowFrameIsReportedByTheProcessRecorder) {
  scripted_engine::Change([](EngineScript &script) { script.process_time = 100001us; });
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kWarning, "beauty_process: frame cost too much: 100001 us"));
}

TEST_F(WorkerFrames, FrameJustUnderTheLimitIsNotReported) {
  scripted_engine::Change([](EngineScript &script) { script.process_time = 100000us; });
  ASSERT_TRUE(Feed());
  EXPECT_FALSE(log_.HasText("beauty_process: frame cost too much"));
}

}  // namespace
