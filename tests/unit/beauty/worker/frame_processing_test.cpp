// One frame's way through the engine.
#include "beauty/worker/frame_processing.h"

#include <chrono>

#include "beauty/worker/interop_requests.h"
#include "beauty/worker/processor_holder.h"
#include "beauty/worker/worker_settings.h"
#include "beauty/worker/worker_state.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"
#include "stats/delay_stats.h"

namespace {

using namespace vanta_test;
using namespace std::chrono_literals;

using vanta_test::kInfo;
using vanta_test::kWarning;

class FrameProcessing : public WorkerFixture {
 protected:
  void SetUp() override { StartWorker(); }
};

TEST_F(FrameProcessing, FrameUnderTwoPixelsNeverReachesTheEngine) {
  ASSERT_TRUE(Feed(1, 1, 48));
  ASSERT_TRUE(Feed(1, 64, 1));
  ASSERT_TRUE(Feed(1, 1, 1));
  EXPECT_EQ(scripted_engine::Created(), 0);
  EXPECT_FALSE(Dequeue(1, 1).success);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Feed(2)) << "a carrier was lost";
}

TEST_F(FrameProcessing, SmallestFrameReachesTheEngine) {
  ASSERT_TRUE(Feed(1, 2, 2));
  EXPECT_EQ(scripted_engine::FramesProcessed(), 1u);
}

TEST_F(FrameProcessing, FirstFrameAlwaysMakesTheEngine) {
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Created(), 1);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(scripted_engine::Created(), 1);
}

TEST_F(FrameProcessing, NewSizeRecreatesTheEngineOnItsFirstFrame) {
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed(2, 32, 16));
  EXPECT_EQ(scripted_engine::Created(), 2);
  EXPECT_EQ(scripted_engine::Alive(), 1);
  EXPECT_EQ(scripted_engine::Count("createEngine(/fake/vanta_filter/file, 0, 32, 16)"), 1u);
}

TEST_F(FrameProcessing, EnginesOwnFrameTakesThePlaceOfTheInput) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kOtherFrame; });
  ASSERT_TRUE(Feed(1, kWidth, kHeight, 42));
  const Dequeued out = Dequeue();
  EXPECT_TRUE(out.success);
  EXPECT_EQ(out.frame->data[0][0], 42);
}

TEST_F(FrameProcessing, FrameThatTheEngineRefusesIsRecycled) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  for (int i = 0; i < 6; ++i) ASSERT_TRUE(Feed()) << "a carrier was lost";
  EXPECT_FALSE(Dequeue().success);
}

TEST_F(FrameProcessing, OneFailureInFiveIsLogged) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count("[beauty] render failed"), 0u);
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count("[beauty] render failed"), 1u);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty] render failed"));
  for (int i = 0; i < 5; ++i) ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count("[beauty] render failed"), 2u);
}

TEST_F(FrameProcessing, FailuresAreCountedOverAllWorkers) {
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(Feed());
  StopWorker();
  host_double::ClearCalls();
  passes_ = 0;
  StartWorker();
  for (int i = 0; i < 2; ++i) ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count("[beauty] render failed"), 1u);
}

TEST_F(FrameProcessing, WithoutAnEngineFramesAreRefusedAndNothingIsRecreated) {
  scripted_engine::Change([](EngineScript &script) { script.create = false; });
  for (int i = 0; i < 3; ++i) ASSERT_TRUE(Feed());
  EXPECT_TRUE(worker_->IsRunning());
  EXPECT_FALSE(Dequeue().success);
  EXPECT_EQ(scripted_engine::Count("createEngine"), 1u) << "the size matches: no second try";
}

TEST_F(FrameProcessing, SlowFrameIsReportedByTheProcessRecorder) {
  scripted_engine::Change([](EngineScript &script) { script.process_time = 100001us; });
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(log_.Has(kWarning, "beauty_process: frame cost too much: 100001 us"));
}

TEST_F(FrameProcessing, FrameJustUnderTheLimitIsNotReported) {
  scripted_engine::Change([](EngineScript &script) { script.process_time = 100000us; });
  ASSERT_TRUE(Feed());
  EXPECT_FALSE(log_.HasText("beauty_process: frame cost too much"));
}

// ---- Without a thread ----

class FrameProcessingAlone : public testing::Test {
 protected:
  vanta::WorkerState state_;
  vanta::WorkerSettings settings_{nullptr};
  vanta::DelayStats stats_;
  vanta::ProcessorHolder processor_{settings_, stats_, state_};
  vanta::InteropRequests requests_;
  vanta::FrameProcessing processing_{processor_, requests_, stats_};
};

TEST_F(FrameProcessingAlone, CarrierWithoutAFrameIsRefused) {
  processor_.CreateFirst();
  vanta::PooledFrame empty;
  EXPECT_FALSE(processing_.Process(empty));
  EXPECT_EQ(scripted_engine::Created(), 0);
}

TEST_F(FrameProcessingAlone, FrameMakesTheProcessorThatItNeeds) {
  processor_.CreateFirst();
  vanta::PooledFrame frame;
  frame.data = std::make_shared<LX::FrameData>();
  frame.data->width = kWidth;
  frame.data->height = kHeight;
  processing_.Process(frame);
  EXPECT_TRUE(processor_.Fits(kWidth, kHeight));
}

}  // namespace
