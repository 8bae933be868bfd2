// The host's side of the frame queues: what goes in, what comes out, and the frames marked for dump.
#include "beauty/worker/frame_exchange.h"

#include <cstring>

#include "beauty/worker/worker_state.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/log_capture.h"
#include "frames/face_beauty_frame_factory.h"
#include "stats/delay_stats.h"
#include "stats/stattistics.h"
#include "vanta_filter/module/host_frame.h"

namespace {

using namespace vanta_test;

using vanta_test::kInfo;
using vanta_test::kWarning;

class FrameExchange : public WorkerFixture {
 protected:
  void SetUp() override { StartWorker(); }
};

TEST_F(FrameExchange, ProcessedFrameComesBackWithItsPixels) {
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

TEST_F(FrameExchange, FramesComeBackOldestFirst) {
  for (uint8_t i = 1; i <= 3; ++i) ASSERT_TRUE(Feed(i, kWidth, kHeight, i));
  for (uint8_t i = 1; i <= 3; ++i) {
    const Dequeued out = Dequeue();
    ASSERT_TRUE(out.success);
    EXPECT_EQ(out.frame->data[0][0], i);
  }
  EXPECT_FALSE(Dequeue().success);
}

TEST_F(FrameExchange, DequeueWithNothingFinishedLeavesTheTypeAlone) {
  const Dequeued out = Dequeue();
  EXPECT_FALSE(out.success);
  EXPECT_EQ(out.type, 2);
  EXPECT_EQ(out.bgra, nullptr);
}

TEST_F(FrameExchange, FifthFrameInFlightIsRefused) {
  scripted_engine::Close(Gate::kProcess);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
  EXPECT_FALSE(worker_->EnqueueFrame(frame.get()));
  scripted_engine::Open(Gate::kProcess);
  ASSERT_TRUE(WaitForPasses(4));
  EXPECT_FALSE(worker_->EnqueueFrame(frame.get()));  // all four stand in the output
  EXPECT_TRUE(Dequeue().success);
  EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
}

TEST_F(FrameExchange, EnqueueReturnsWhileTheEngineIsBusy) {
  ASSERT_TRUE(HoldAt(Gate::kProcess));
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
  EXPECT_FALSE(Dequeue().success);
}

TEST_F(FrameExchange, EngineSeesTheFrameAsTheHostSentIt) {
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

TEST_F(FrameExchange, PooledFrameOfAnotherSizeIsAWarningAndTheFrameGoesOn) {
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

TEST_F(FrameExchange, FinishedFramesOfTheOldSizeAreRecycledOneACall) {
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

TEST_F(FrameExchange, PixelBufferIsHandedOnBySharedPointer) {
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

TEST_F(FrameExchange, SharedTextureIsHandedOnAsTypeFive) {
  scripted_engine::Change([](EngineScript &script) { script.out_format = 5; });
  ASSERT_TRUE(Feed());
  const Dequeued out = Dequeue();
  EXPECT_TRUE(out.success);
  EXPECT_EQ(out.type, 5);
  EXPECT_NE(out.bgra, nullptr);
}

TEST_F(FrameExchange, EveryOtherPixelFormatIsAMemoryFrame) {
  for (const int32_t format : {-1, 0, 1, 2, 6, 100}) {
    scripted_engine::Change([&](EngineScript &script) { script.out_format = format; });
    ASSERT_TRUE(Feed());
    const Dequeued out = Dequeue();
    EXPECT_TRUE(out.success) << format;
    EXPECT_EQ(out.type, 1) << format;
    EXPECT_EQ(out.bgra, nullptr) << format;
  }
}

TEST_F(FrameExchange, FailedCopyIntoTheHostsFrameSetsNothing) {
  ASSERT_TRUE(Feed());
  HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  uint8_t *const plane = frame->data[0];
  frame->data[0] = nullptr;
  int32_t type = 2;
  std::shared_ptr<LX::FrameData> bgra;
  EXPECT_FALSE(worker_->DequeueFrame(frame.get(), &type, &bgra));
  frame->data[0] = plane;
  EXPECT_EQ(type, 2);
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Feed(2)) << "a carrier was lost";
}

TEST_F(FrameExchange, FrameOfAFormatThatTheScalerLacksIsNotProcessed) {
  HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  frame->format = static_cast<video_format>(31);  // the enumeration has room up to here
  EXPECT_TRUE(worker_->EnqueueFrame(frame.get()));
  EXPECT_TRUE(log_.Has(kWarning, "[beauty] create ffmpeg scaler failed"));
  for (int i = 0; i < 4; ++i) EXPECT_TRUE(Feed()) << "a carrier was lost";
}

// ---- Frames marked for dump come back under their id, with the engine's text ----

class FrameExchangeDump : public WorkerFixture {
 protected:
  void SetUp() override {
    scripted_engine::Change([](EngineScript &script) { script.dump_text = "{\"applied\":1}"; });
    StartWorker();
  }

  bool FeedMarked(uint32_t id, uint64_t timestamp) {
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight, 16, timestamp);
    vanta::SetDumpId(frame.get(), id);
    return FeedFrame(frame.get());
  }
};

TEST_F(FrameExchangeDump, MarkedFrameIsLoggedOnItsWay) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:7 timestamp:1000"));
  EXPECT_TRUE(log_.Has(kInfo, "[ImageDump] after beauty_fitler id : 1"));
  EXPECT_TRUE(Dequeue().success);
  EXPECT_TRUE(log_.Has(kInfo, "[beauty][vanta dump][FaceBeautyFilterWorker]  vanta_id:1000 "));
}

TEST_F(FrameExchangeDump, MarkedFrameComesBackUnderItsId) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  const Dequeued out = Dequeue();
  EXPECT_EQ(vanta::GetDumpId(out.frame.get()), 7u);
  std::string json;
  EXPECT_EQ(worker_->GetDumpJson(json, 7), "{\"applied\":1}");
  EXPECT_EQ(json, "{\"applied\":1}");
  EXPECT_TRUE(log_.Has(kWarning, "[beauty][DumpImage] beauty_fiter, get dump json for 7"));
}

TEST_F(FrameExchangeDump, AnotherIdIsRefusedWithAnEmptyText) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  EXPECT_TRUE(Dequeue().success);
  std::string json = "old";
  EXPECT_EQ(worker_->GetDumpJson(json, 8), "");
  EXPECT_EQ(json, "");
  EXPECT_TRUE(log_.Has(kWarning, "[beauty][DumpImage] beauty_fiter, can not get dump json for 8(7)"));
}

TEST_F(FrameExchangeDump, MarkedFrameComesOnTopOfTheFourInFlight) {
  scripted_engine::Close(Gate::kProcess);
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  for (int i = 0; i < 4; ++i) ASSERT_TRUE(worker_->EnqueueFrame(frame.get()));
  const HostFrame marked = MakeFlatFrame(kWidth, kHeight, 16, 99);
  vanta::SetDumpId(marked.get(), 5);
  EXPECT_TRUE(worker_->EnqueueFrame(marked.get()));
  EXPECT_FALSE(worker_->EnqueueFrame(frame.get()));
}

TEST_F(FrameExchangeDump, OrdinaryFrameLeavesTheHostsMarkAlone) {
  ASSERT_TRUE(Feed());
  HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  vanta::SetDumpId(frame.get(), 3);
  int32_t type = 2;
  std::shared_ptr<LX::FrameData> bgra;
  EXPECT_TRUE(worker_->DequeueFrame(frame.get(), &type, &bgra));
  EXPECT_EQ(vanta::GetDumpId(frame.get()), 3u);
}

TEST_F(FrameExchangeDump, IdOfARecycledFrameIsGone) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  EXPECT_TRUE(Dequeue().success);
  ASSERT_TRUE(Feed(1000));
  const Dequeued out = Dequeue();
  EXPECT_EQ(vanta::GetDumpId(out.frame.get()), 0u);
}

TEST_F(FrameExchangeDump, SecondMarkOnOneTimestampStands) {
  ASSERT_TRUE(FeedMarked(7, 1000));
  ASSERT_TRUE(FeedMarked(8, 1000));
  const Dequeued first = Dequeue();
  EXPECT_EQ(vanta::GetDumpId(first.frame.get()), 8u);
  // The first to be recycled took the entry with it: the second frame is marked, but has no id.
  const Dequeued second = Dequeue();
  EXPECT_EQ(vanta::GetDumpId(second.frame.get()), 0u);
  std::string json;
  EXPECT_EQ(worker_->GetDumpJson(json, 8), "{\"applied\":1}");
}

// ---- Without a thread ----

class FrameExchangeAlone : public testing::Test {
 protected:
  bool Enqueue() {
    const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
    frame->flip = true;
    return exchange_.EnqueueFrame(frame.get());
  }
  bool Dequeue(obs_source_frame *frame) {
    std::shared_ptr<LX::FrameData> bgra;
    return exchange_.DequeueFrame(frame, &type_, &bgra);
  }

  vanta::WorkerState state_;
  vanta::DelayStats stats_;
  vanta::FaceBeautyFrameFactory frames_;
  vanta::FrameExchange exchange_{frames_, stats_, state_};
  int32_t type_ = 2;
};

TEST_F(FrameExchangeAlone, FrameWaitsInTheInputWithTheHostsFlip) {
  EXPECT_TRUE(Enqueue());
  const vanta::PooledFramePtr waiting = frames_.TakeNextInput();
  ASSERT_TRUE(waiting);
  EXPECT_TRUE(waiting->flip);
  EXPECT_FALSE(frames_.HasInput());
}

TEST_F(FrameExchangeAlone, RefusedFramesAreCounted) {
  for (int i = 0; i < 6; ++i) EXPECT_EQ(Enqueue(), i < 4);
  EXPECT_EQ(stats_.MakeSample().enqueue_fail_count, 2);
}

TEST_F(FrameExchangeAlone, TickCountsWhatComesInAndWhatIsTaken) {
  vanta::Stattistics tick([](bool, float, float) {});
  ASSERT_TRUE(MovableClock::WaitForSleepers(1));  // awake it would begin its first second
  exchange_.SetTick(&tick);
  Enqueue();
  frames_.PushOutput(frames_.TakeNextInput());
  const HostFrame frame = MakeFlatFrame(kWidth, kHeight);
  EXPECT_TRUE(Dequeue(frame.get()));
  EXPECT_FALSE(Dequeue(frame.get()));
  EXPECT_EQ(tick.in_count, 1u);
  EXPECT_EQ(tick.out_count, 1u);
}

}  // namespace
