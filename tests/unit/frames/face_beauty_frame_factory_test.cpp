// Carriers, queues and dump marks; the pixels are other files' matter.
#include "frames/face_beauty_frame_factory.h"

#include <bit>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/frames/host_frame.h"
#include "fixtures/process/alloc_counter.h"
#include "fixtures/process/log_capture.h"

namespace vanta {
namespace {

namespace engine = vanta_test::scripted_engine;
using vanta_test::LogCapture;

// All carriers that the factory will give now.
std::vector<PooledFramePtr> TakeAllFree(FaceBeautyFrameFactory &factory) {
  std::vector<PooledFramePtr> frames;
  while (PooledFramePtr frame = factory.TakeFreeFrame(16, 16)) frames.push_back(std::move(frame));
  return frames;
}

TEST(FrameFactory, LogsItsCacheSizeOnce) {
  LogCapture log;
  FaceBeautyFrameFactory factory;
  EXPECT_EQ(log.LinesWith("[beauty]"),
            (std::vector<vanta_test::LogLine>{{LOG_INFO, "[beauty] FaceBeautyFrameFactory cache_size=4"}}));
}

TEST(FrameFactory, LimitsTheCacheOfOneOfItsTwoPools) {
  FaceBeautyFrameFactory factory;
  EXPECT_EQ(engine::Count("FramePool()"), 2u);
  EXPECT_EQ(engine::Count("setMaxCachedFrameSize("), 1u);
  EXPECT_EQ(engine::Count("setMaxCachedFrameSize(4)"), 1u);
}

// The engine's own limit is above six: all six come back from the cache, the last two as cheaply as the first.
TEST(FrameFactory, PoolOfDumpFramesKeepsTheEnginesLimit) {
  constexpr uint64_t kFrames = 6;
  FaceBeautyFrameFactory factory;
  std::vector<PooledFramePtr> frames;
  std::vector<uint64_t> allocations;
  for (int round = 0; round < 2; ++round) {
    frames.clear();
    allocations.clear();
    frames.reserve(kFrames);
    for (uint64_t i = 0; i < kFrames; ++i) {
      const vanta_test::AllocCounter counter;
      PooledFramePtr frame = factory.TakeDumpFrame(1, 16, 16, i);
      allocations.push_back(counter.OnThisThread());
      ASSERT_TRUE(frame && frame->data);
      frames.push_back(std::move(frame));
    }
    for (auto &frame : frames) factory.Recycle(std::move(frame));
  }
  EXPECT_EQ(allocations, std::vector<uint64_t>(kFrames, allocations.front()));
}

TEST(FrameFactory, FifthFreeFrameIsRefusedUntilOneIsRecycled) {
  FaceBeautyFrameFactory factory;
  auto frames = TakeAllFree(factory);
  ASSERT_EQ(frames.size(), 4u);
  EXPECT_EQ(factory.TakeFreeFrame(16, 16), nullptr);
  factory.Recycle(std::move(frames.back()));
  EXPECT_NE(factory.TakeFreeFrame(16, 16), nullptr);
}

TEST(FrameFactory, RefusedFreeFrameTakesNothingFromThePool) {
  FaceBeautyFrameFactory factory;
  auto frames = TakeAllFree(factory);
  EXPECT_EQ(engine::FramesTaken(), 4u);
}

TEST(FrameFactory, FreeFrameHasPixelsOfTheAskedSizeAndFreshFields) {
  FaceBeautyFrameFactory factory;
  const PooledFramePtr frame = factory.TakeFreeFrame(64, 48);
  ASSERT_NE(frame->data, nullptr);
  EXPECT_EQ(frame->data->width, 64);
  EXPECT_EQ(frame->data->height, 48);
  EXPECT_EQ(frame->data->word, 1);
  EXPECT_EQ(frame->data->color_code, 2);
  EXPECT_EQ(frame->data->layout_code, 1);
  EXPECT_EQ(frame->data->pixel_format, -1);
  EXPECT_EQ(frame->data->flip, 0);
  EXPECT_EQ(frame->data->dump_flag, 0);
  EXPECT_EQ(std::bit_cast<uint32_t>(frame->data->prepared_mark), 0x428720E1u);
}

TEST(FrameFactory, RecycledCarrierGivesItsPixelsBackToThePool) {
  FaceBeautyFrameFactory factory;
  PooledFramePtr frame = factory.TakeFreeFrame(16, 16);
  EXPECT_EQ(engine::FramesAlive(), 1u);
  factory.Recycle(std::move(frame));
  EXPECT_EQ(engine::FramesAlive(), 0u);
}

TEST(FrameFactory, RecyclingNothingIsHarmless) {
  FaceBeautyFrameFactory factory;
  factory.Recycle(nullptr);
  EXPECT_EQ(TakeAllFree(factory).size(), 4u);
}

TEST(FrameFactory, DumpFrameIsMarkedAndCarriesItsTimestamp) {
  FaceBeautyFrameFactory factory;
  const PooledFramePtr frame = factory.TakeDumpFrame(7, 32, 16, 123456789);
  ASSERT_NE(frame->data, nullptr);
  EXPECT_EQ(frame->data->width, 32);
  EXPECT_EQ(frame->data->height, 16);
  EXPECT_EQ(frame->data->dump_flag, 1);
  EXPECT_EQ(frame->data->timestamp, 123456789u);
  EXPECT_EQ(frame->data->word, 1);
  EXPECT_EQ(frame->data->layout_code, 1);
  EXPECT_EQ(factory.GetDumpId(123456789), 7u);
}

TEST(FrameFactory, DumpFramesComeOnTopOfTheFour) {
  FaceBeautyFrameFactory factory;
  auto frames = TakeAllFree(factory);
  EXPECT_NE(factory.TakeDumpFrame(1, 16, 16, 10), nullptr);
  EXPECT_NE(factory.TakeDumpFrame(2, 16, 16, 20), nullptr);
}

TEST(FrameFactory, RecycledDumpFrameNeitherJoinsTheFreeListNorKeepsItsId) {
  FaceBeautyFrameFactory factory;
  factory.Recycle(factory.TakeDumpFrame(7, 16, 16, 100));
  EXPECT_EQ(factory.GetDumpId(100), 0u);
  EXPECT_EQ(TakeAllFree(factory).size(), 4u);
}

TEST(FrameFactory, TwoDumpFramesOfOneTimestampShareTheSecondIdUntilTheFirstIsRecycled) {
  FaceBeautyFrameFactory factory;
  PooledFramePtr first = factory.TakeDumpFrame(1, 16, 16, 100);
  PooledFramePtr second = factory.TakeDumpFrame(2, 16, 16, 100);
  EXPECT_EQ(factory.GetDumpId(100), 2u);
  factory.Recycle(std::move(first));
  EXPECT_EQ(factory.GetDumpId(100), 0u);
  factory.Recycle(std::move(second));
  EXPECT_EQ(factory.GetDumpId(100), 0u);
}

TEST(FrameFactory, RecyclingOneDumpFrameLeavesTheOthersIds) {
  FaceBeautyFrameFactory factory;
  PooledFramePtr kept = factory.TakeDumpFrame(2, 16, 16, 200);
  factory.Recycle(factory.TakeDumpFrame(1, 16, 16, 100));
  EXPECT_EQ(factory.GetDumpId(200), 2u);
}

TEST(FrameFactory, UnknownTimestampHasDumpIdZero) {
  FaceBeautyFrameFactory factory;
  EXPECT_EQ(factory.GetDumpId(42), 0u);
}

TEST(FrameFactory, TimestampBeyondTheSignedRangeKeepsItsId) {
  FaceBeautyFrameFactory factory;
  const PooledFramePtr frame = factory.TakeDumpFrame(9, 16, 16, UINT64_MAX - 1);
  EXPECT_EQ(factory.GetDumpId(UINT64_MAX - 1), 9u);
}

TEST(FrameFactory, OutputComesInItsOrder) {
  FaceBeautyFrameFactory factory;
  for (uint64_t i = 1; i <= 3; ++i) {
    PooledFramePtr frame = factory.TakeFreeFrame(16, 16);
    frame->created_ms = i;
    factory.PushOutput(std::move(frame));
  }
  EXPECT_EQ(factory.OutputCount(), 3u);
  EXPECT_EQ(factory.TakeOutput(16, 16)->created_ms, 1u);
  EXPECT_EQ(factory.TakeOutput(16, 16)->created_ms, 2u);
  EXPECT_EQ(factory.OutputCount(), 1u);
}

TEST(FrameFactory, EmptyOutputGivesNullWithoutALine) {
  FaceBeautyFrameFactory factory;
  LogCapture log;
  EXPECT_EQ(factory.TakeOutput(16, 16), nullptr);
  EXPECT_TRUE(log.Lines().empty());
}

TEST(FrameFactory, OutputOfTheOldSizeIsRecycledAndTheNextCallLooksAtTheNextFrame) {
  FaceBeautyFrameFactory factory;
  factory.PushOutput(factory.TakeFreeFrame(16, 16));
  factory.PushOutput(factory.TakeFreeFrame(32, 16));
  LogCapture log;
  EXPECT_EQ(factory.TakeOutput(32, 16), nullptr);
  EXPECT_TRUE(log.Has(LOG_WARNING, "[beauty] intput frame size != need size!"));
  EXPECT_EQ(log.Lines().size(), 1u);
  const PooledFramePtr next = factory.TakeOutput(32, 16);
  ASSERT_NE(next, nullptr);
  EXPECT_EQ(next->data->width, 32);
  EXPECT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(TakeAllFree(factory).size(), 3u);
}

TEST(FrameFactory, OutputThatDiffersInHeightAloneIsRecycledToo) {
  FaceBeautyFrameFactory factory;
  factory.PushOutput(factory.TakeFreeFrame(16, 16));
  EXPECT_EQ(factory.TakeOutput(16, 18), nullptr);
  EXPECT_EQ(factory.OutputCount(), 0u);
}

TEST(FrameFactory, OutputWithoutDataIsLoggedAndRecycled) {
  FaceBeautyFrameFactory factory;
  PooledFramePtr frame = factory.TakeFreeFrame(16, 16);
  frame->data.reset();
  factory.PushOutput(std::move(frame));
  LogCapture log;
  EXPECT_EQ(factory.TakeOutput(16, 16), nullptr);
  EXPECT_TRUE(log.Has(LOG_WARNING, "[beauty] render frame is nullptr"));
  EXPECT_EQ(TakeAllFree(factory).size(), 4u);
}

TEST(FrameFactory, DumpFrameOfTheOldSizeLosesItsIdOnTheWayOut) {
  FaceBeautyFrameFactory factory;
  factory.PushOutput(factory.TakeDumpFrame(7, 16, 16, 100));
  EXPECT_EQ(factory.TakeOutput(32, 16), nullptr);
  EXPECT_EQ(factory.GetDumpId(100), 0u);
  EXPECT_EQ(TakeAllFree(factory).size(), 4u);
}

TEST(FrameFactory, SizeZeroDropsTheOldestOutput) {
  FaceBeautyFrameFactory factory;
  factory.PushOutput(factory.TakeFreeFrame(16, 16));
  factory.PushOutput(factory.TakeFreeFrame(16, 16));
  EXPECT_EQ(factory.TakeOutput(0, 0), nullptr);
  EXPECT_EQ(factory.OutputCount(), 1u);
}

TEST(FrameFactory, QueuedFramesDieWithIt) {
  const auto host = vanta_test::MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  {
    FaceBeautyFrameFactory factory;
    factory.PutInput(factory.TakeFreeFrame(16, 16), host.get());
    factory.PushOutput(factory.TakeFreeFrame(16, 16));
    factory.PushOutput(factory.TakeDumpFrame(1, 16, 16, 1));
    EXPECT_EQ(engine::FramesAlive(), 3u);
  }
  EXPECT_EQ(engine::FramesAlive(), 0u);
}

}  // namespace
}  // namespace vanta
