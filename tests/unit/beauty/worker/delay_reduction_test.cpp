// Delay reduction: tested once a minute, drops at most four frames.
#include "beauty/worker/delay_reduction.h"

#include <chrono>

#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"
#include "frames/face_beauty_frame_factory.h"
#include "stats/delay_stats.h"
#include "vanta_filter/module/host_frame.h"

namespace {

using namespace vanta_test;
using std::chrono::milliseconds;

using vanta_test::kInfo;
constexpr char kStart[] = "[beauty] ReduceBeautyDelay, reduce beauty delay start";
constexpr char kDone[] = "[beauty] DoneReduceBeautyDelay, reduce beauty delay done";

std::string DropLine(int left, int drop) {
  return "[beauty] DoReduceBeautyDelay, reduce beauty delay by drop one frame. left[" + std::to_string(left) +
         "] drop[" + std::to_string(drop) + "]";
}

class DelayReduction : public WorkerFixture {
 protected:
  void SetUp() override {
    StartWorker();
    ASSERT_TRUE(Feed());  // sets the time of the first test
  }

  // Marked frames come on top of the four carriers, so that the output can grow as far as a test wants.
  void FeedMarked(int count) {
    for (int i = 0; i < count; ++i) {
      const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 16, ++timestamp_);
      vanta::SetDumpId(frame.get(), 1);
      ASSERT_TRUE(FeedFrame(frame.get()));
    }
  }

  uint64_t timestamp_ = 1000;
};

TEST_F(DelayReduction, SixtySecondsToTheMillisecondIsTooEarly) {
  MovableClock::Advance(milliseconds(60000));
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count(kStart), 0u);
}

TEST_F(DelayReduction, OneMillisecondMoreStartsTheReduction) {
  MovableClock::Advance(milliseconds(60001));
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count(kStart), 1u);
  EXPECT_TRUE(log_.Has(kInfo, kStart));
  EXPECT_FALSE(log_.HasText("DoReduceBeautyDelay")) << "dropping begins with the next frame";
}

TEST_F(DelayReduction, OneFrameInTheOutputIsNoDelay) {
  EXPECT_TRUE(Dequeue().success);
  MovableClock::Advance(milliseconds(60001));
  ASSERT_TRUE(Feed());  // the output holds this one alone
  EXPECT_EQ(log_.Count(kStart), 0u);
}

TEST_F(DelayReduction, NextFrameDropsTheOldest) {
  EXPECT_TRUE(Dequeue().success);
  ASSERT_TRUE(Feed(1, kWidth, kHeight, 1));
  MovableClock::Advance(milliseconds(60001));
  ASSERT_TRUE(Feed(2, kWidth, kHeight, 2));
  ASSERT_TRUE(Feed(3, kWidth, kHeight, 3));
  EXPECT_TRUE(log_.Has(kInfo, DropLine(2, 1)));
  EXPECT_EQ(log_.Count("[beauty] intput frame size != need size!"), 1u) << "the drop itself is the factory's line";
  const Dequeued out = Dequeue();
  EXPECT_EQ(out.frame->data[0][0], 2);
}

TEST_F(DelayReduction, ReductionEndsWhenOneFrameIsLeft) {
  MovableClock::Advance(milliseconds(60001));
  ASSERT_TRUE(Feed());
  EXPECT_TRUE(Dequeue().success);
  EXPECT_TRUE(Dequeue().success);
  ASSERT_TRUE(Feed());  // one frame, dropped at once
  EXPECT_TRUE(log_.Has(kInfo, DropLine(0, 1)));
  EXPECT_TRUE(log_.Has(kInfo, kDone));
}

TEST_F(DelayReduction, ReductionDropsAtMostFourFramesEvenIfMoreRemain) {
  FeedMarked(8);
  MovableClock::Advance(milliseconds(60001));
  FeedMarked(6);
  EXPECT_EQ(log_.CountWith("DoReduceBeautyDelay, "), 4u);
  // Nine frames stood at the test; each pass adds one and drops one.
  for (int drop = 1; drop <= 4; ++drop) EXPECT_EQ(log_.Count(DropLine(10, drop)), 1u) << drop;
  EXPECT_EQ(log_.Count(kDone), 1u);
}

TEST_F(DelayReduction, NextTestComesAFullMinuteAfterTheLast) {
  FeedMarked(8);
  MovableClock::Advance(milliseconds(60001));
  FeedMarked(6);
  MovableClock::Advance(milliseconds(60000));
  FeedMarked(1);
  EXPECT_EQ(log_.Count(kStart), 1u);
  MovableClock::Advance(milliseconds(1));
  FeedMarked(1);
  EXPECT_EQ(log_.Count(kStart), 2u);
  FeedMarked(5);
  EXPECT_EQ(log_.CountWith("DoReduceBeautyDelay, "), 8u) << "the drop count begins anew";
}

TEST_F(DelayReduction, TestThatFindsNoDelayAlsoStartsTheMinuteAnew) {
  EXPECT_TRUE(Dequeue().success);
  MovableClock::Advance(milliseconds(60001));
  ASSERT_TRUE(Feed());
  MovableClock::Advance(milliseconds(60000));
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count(kStart), 0u);
}

TEST_F(DelayReduction, FailedFramesDoNotTestTheDelay) {
  ASSERT_TRUE(Feed());
  scripted_engine::Change([](EngineScript &script) { script.answer = EngineScript::Answer::kNull; });
  MovableClock::Advance(milliseconds(60001));
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.Count(kStart), 0u);
}

TEST_F(DelayReduction, DropsAreCountedInTheReport) {
  FeedMarked(3);
  MovableClock::Advance(milliseconds(60001));
  FeedMarked(3);
  EXPECT_EQ(TenSecondReport().drop_count, 2);
}

TEST_F(DelayReduction, CarriersOfDroppedFramesComeBack) {
  MovableClock::Advance(milliseconds(60001));
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed());
  ASSERT_TRUE(Feed());
  EXPECT_EQ(log_.CountWith("DoReduceBeautyDelay, "), 3u);
  EXPECT_TRUE(Feed());
}

// ---- Without a worker ----

class DelayReductionAlone : public testing::Test {
 protected:
  void Finish(int count) {
    for (; count > 0; --count) frames_.PushOutput(frames_.TakeFreeFrame(kWidth, kHeight));
  }
  void Test(int times) {
    for (; times > 0; --times) reduction_.TestDelay();
  }

  vanta::FaceBeautyFrameFactory frames_;
  vanta::DelayStats stats_;
  vanta::DelayReduction reduction_{frames_, stats_};
};

TEST_F(DelayReductionAlone, FramesNotYetProcessedAreNoDelay) {
  Test(1);
  Finish(1);
  for (int i = 0; i < 3; ++i) {
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
    frames_.PutInput(frames_.TakeFreeFrame(kWidth, kHeight), frame.get());
  }
  MovableClock::Advance(milliseconds(60001));
  Test(2);
  EXPECT_EQ(frames_.OutputCount(), 1u);
}

TEST_F(DelayReductionAlone, EachTestDropsOneFrameUntilOneIsLeft) {
  Test(1);
  Finish(4);
  MovableClock::Advance(milliseconds(60001));
  Test(1);
  EXPECT_EQ(frames_.OutputCount(), 4u) << "the test that finds the delay drops nothing";
  for (const uint32_t left : {3u, 2u, 1u, 1u}) {
    Test(1);
    EXPECT_EQ(frames_.OutputCount(), left);
  }
  EXPECT_EQ(stats_.MakeSample().drop_count, 3);
}

}  // namespace
