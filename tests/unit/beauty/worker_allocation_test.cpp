// The steady state of the frame road takes nothing from the heap.
#include <chrono>
#include <thread>

#include "support/alloc_counter.h"
#include "support/wait.h"
#include "worker_bench.h"

namespace {

using namespace vanta_test;

class WorkerAllocation : public WorkerBench {
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
    const TestFrame in = MakeFrame(kWidth, kHeight, 16, 1, format);
    const TestFrame out = MakeFrame(kWidth, kHeight, 0, 2, format);
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

TEST_F(WorkerAllocation, Nv12FramesTakeNothingFromTheHeap) {
  EXPECT_EQ(Allocations(VIDEO_FORMAT_NV12), 0u);
}

TEST_F(WorkerAllocation, ScaledFramesTakeNothingFromTheHeap) {
  EXPECT_EQ(Allocations(VIDEO_FORMAT_I420), 0u);
}

}  // namespace
