// The factory between the host's thread and the worker's, as fast as both go.
#include <atomic>
#include <cstdint>
#include <thread>
#include <utility>

#include <gtest/gtest.h>

#include "fixtures/frames/host_frame.h"
#include "fixtures/process/wait.h"
#include "frames/face_beauty_frame_factory.h"

namespace vanta {
namespace {

using vanta_test::HostFrame;
using vanta_test::MakeHostFrame;
using vanta_test::WaitUntil;

constexpr uint64_t kFrames = 3000;

size_t FreeFrames(FaceBeautyFrameFactory &factory) {
  PooledFrameQueue taken;
  while (PooledFramePtr frame = factory.TakeFreeFrame(16, 16)) taken.PushBack(std::move(frame));
  return taken.Size();
}

TEST(FrameFactoryThreads, CarryFramesInOrder) {
  FaceBeautyFrameFactory factory;
  const HostFrame host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  std::atomic<bool> stop{false};
  std::thread worker([&] {
    while (!stop) {
      PooledFrameQueue batch = factory.TakeAllInput();
      if (batch.Empty()) std::this_thread::yield();
      while (PooledFramePtr frame = batch.PopFront()) factory.PushOutput(std::move(frame));
    }
  });
  uint64_t sent = 0, received = 0;
  const bool all_came = WaitUntil([&] {
    if (sent < kFrames) {
      if (PooledFramePtr frame = factory.TakeFreeFrame(16, 16)) {
        frame->created_ms = ++sent;
        factory.PutInput(std::move(frame), host.get());
      }
    }
    if (PooledFramePtr frame = factory.TakeOutput(16, 16)) {
      EXPECT_EQ(frame->created_ms, ++received);
      factory.Recycle(std::move(frame));
    }
    return received == kFrames;
  });
  stop = true;
  worker.join();
  EXPECT_TRUE(all_came);
  EXPECT_EQ(FreeFrames(factory), 4u);
}

// The worker recycles every other frame, as when the engine fails, looks at both queues and drops an output now and
// then, as the delay reduction does; every third frame is marked for dump.
TEST(FrameFactoryThreads, ShareCarriersAndDumpMarks) {
  FaceBeautyFrameFactory factory;
  const HostFrame host = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  std::atomic<bool> stop{false};
  std::atomic<uint64_t> done{0};
  std::thread worker([&] {
    while (!stop) {
      if (!factory.HasInput()) std::this_thread::yield();
      while (PooledFramePtr frame = factory.TakeNextInput()) {
        if (done % 2 == 0)
          factory.Recycle(std::move(frame));
        else
          factory.PushOutput(std::move(frame));
        if (factory.OutputCount() > 2) factory.TakeOutput(0, 0);
        ++done;
      }
    }
  });
  uint64_t sent = 0;
  const bool all_done = WaitUntil([&] {
    if (sent < kFrames) {
      const auto id = static_cast<uint32_t>(sent + 1);
      PooledFramePtr frame = sent % 3 == 0 ? factory.TakeDumpFrame(id, 16, 16, sent) : factory.TakeFreeFrame(16, 16);
      if (frame) {
        frame->data->timestamp = sent;
        factory.PutInput(std::move(frame), host.get());
        ++sent;
      }
    }
    if (PooledFramePtr frame = factory.TakeOutput(16, 16)) {
      const uint64_t timestamp = frame->data->timestamp;
      EXPECT_EQ(factory.GetDumpId(timestamp), frame->data->dump_flag ? timestamp + 1 : 0);
      factory.Recycle(std::move(frame));
    }
    return done == kFrames;
  });
  stop = true;
  worker.join();
  EXPECT_TRUE(all_done);
  while (PooledFramePtr frame = factory.TakeOutput(16, 16)) factory.Recycle(std::move(frame));
  for (uint64_t timestamp = 0; timestamp < kFrames; timestamp += 3) ASSERT_EQ(factory.GetDumpId(timestamp), 0u);
  EXPECT_EQ(FreeFrames(factory), 4u);
}

}  // namespace
}  // namespace vanta
