// The steady state of the frame path takes nothing from the heap.
#include <chrono>
#include <thread>

#include "engine/faceless_instance.h"
#include "fixtures/module/worker_fixture.h"
#include "fixtures/process/alloc_counter.h"
#include "fixtures/process/wait.h"

namespace {

using namespace vanta_test;

class WorkerAllocation : public WorkerFixture {
 protected:
  void SetUp() override { StartWorker(); }

  // One frame in, through the engine and out; the wait itself takes nothing from the heap. False when a wake-up was
  // lost: waking the worker takes a command, and that allocates.
  bool Trip(obs_source_frame *in, obs_source_frame *out) {
    EXPECT_TRUE(worker_->EnqueueFrame(in));
    const auto nudge_time = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
    int32_t type = 2;
    std::shared_ptr<LX::FrameData> bgra;
    while (!worker_->DequeueFrame(out, &type, &bgra)) {
      std::this_thread::yield();
      if (std::chrono::steady_clock::now() < nudge_time) continue;
      Nudge();
      return WaitUntil([&] { return worker_->DequeueFrame(out, &type, &bgra); }, "a frame") && false;
    }
    return true;
  }

  // Allocations of the whole process over so many trips, after a warm-up.
  uint64_t Allocations(video_format format) {
    const HostFrame in = MakeFlatFrame(kWidth, kHeight, 16, 1, format);
    const HostFrame out = MakeFlatFrame(kWidth, kHeight, 0, 2, format);
    EXPECT_TRUE(FeedFrame(in.get()));
    EXPECT_TRUE(Dequeue().success);
    scripted_engine::SetRecording(false);
    host_double::SetRecording(false);
    gs_recorder::SetRecording(false);
    // The streams of the statistics grow until a sample takes them: the tick stands still here, so the first samples
    // of an interval come from the arrival of frames.
    for (int i = 0; i < 400; ++i) Trip(in.get(), out.get());
    for (;;) {
      bool undisturbed = true;
      const AllocCounter counter;
      for (int i = 0; i < 100; ++i) undisturbed = Trip(in.get(), out.get()) && undisturbed;
      if (undisturbed) return counter.InProcess();
    }
  }
};

// The tick runs, once a second; what a sample allocates stands between the seconds.
TEST_F(WorkerAllocation, FramesBetweenTheSamplesTakeNothingFromTheHeap) {
  const HostFrame in = MakeFlatFrame(kWidth, kHeight);
  const HostFrame out = MakeFlatFrame(kWidth, kHeight);
  ASSERT_TRUE(FeedFrame(in.get()));
  ASSERT_TRUE(Dequeue().success);
  scripted_engine::SetRecording(false);
  host_double::SetRecording(false);
  gs_recorder::SetRecording(false);
  // Fewer frames in all than the three hundred after which the engine is asked for a text.
  constexpr int kSeconds = 25;
  constexpr int kFramesPerSecond = 10;
  int undisturbed_seconds = 0;
  for (int second = 0; second < kSeconds; ++second) {
    Tick(1);
    bool undisturbed = true;
    const AllocCounter counter;
    for (int frame = 0; frame < kFramesPerSecond; ++frame) undisturbed = Trip(in.get(), out.get()) && undisturbed;
    if (!undisturbed || second < 2) continue;  // the first samples and frames make room
    EXPECT_EQ(counter.InProcess(), 0u) << "second " << second;
    ++undisturbed_seconds;
  }
  EXPECT_GT(undisturbed_seconds, 15);
  EXPECT_EQ(vanta::FacelessInstance::GetInstance()->GetBeautyStatistics().size(), 1u) << "the tick did not run";
}

TEST_F(WorkerAllocation, Nv12FramesTakeNothingFromTheHeap) {
  EXPECT_EQ(Allocations(VIDEO_FORMAT_NV12), 0u);
}

TEST_F(WorkerAllocation, ScaledFramesTakeNothingFromTheHeap) {
  EXPECT_EQ(Allocations(VIDEO_FORMAT_I420), 0u);
}

}  // namespace
