#include "frames/pooled_frame.h"

#include <gtest/gtest.h>

namespace vanta {
namespace {

PooledFramePtr Numbered(uint64_t number) {
  auto frame = std::make_unique<PooledFrame>();
  frame->created_ms = number;
  return frame;
}

TEST(PooledFrameQueue, GivesFramesBackInTheirOrder) {
  PooledFrameQueue queue;
  for (uint64_t i = 1; i <= 3; ++i) queue.PushBack(Numbered(i));
  EXPECT_EQ(queue.Size(), 3u);
  EXPECT_EQ(queue.PopFront()->created_ms, 1u);
  EXPECT_EQ(queue.PopFront()->created_ms, 2u);
  EXPECT_EQ(queue.PopFront()->created_ms, 3u);
  EXPECT_TRUE(queue.Empty());
}

TEST(PooledFrameQueue, GivesNullWhenEmpty) {
  PooledFrameQueue queue;
  EXPECT_EQ(queue.PopFront(), nullptr);
  EXPECT_EQ(queue.Size(), 0u);
}

TEST(PooledFrameQueue, TakesFramesAgainAfterItRanDry) {
  PooledFrameQueue queue;
  queue.PushBack(Numbered(1));
  queue.PopFront();
  queue.PushBack(Numbered(2));
  queue.PushBack(Numbered(3));
  EXPECT_EQ(queue.PopFront()->created_ms, 2u);
  EXPECT_EQ(queue.PopFront()->created_ms, 3u);
}

TEST(PooledFrameQueue, IgnoresNull) {
  PooledFrameQueue queue;
  queue.PushBack(nullptr);
  EXPECT_TRUE(queue.Empty());
}

TEST(PooledFrameQueue, SwapsWhole) {
  PooledFrameQueue full, other;
  full.PushBack(Numbered(1));
  full.PushBack(Numbered(2));
  other.PushBack(Numbered(9));
  full.Swap(other);
  EXPECT_EQ(full.Size(), 1u);
  EXPECT_EQ(other.Size(), 2u);
  EXPECT_EQ(other.PopFront()->created_ms, 1u);
  EXPECT_EQ(full.PopFront()->created_ms, 9u);
}

TEST(PooledFrameQueue, MovesAndLeavesTheOtherEmpty) {
  PooledFrameQueue full;
  full.PushBack(Numbered(1));
  PooledFrameQueue moved(std::move(full));
  EXPECT_EQ(moved.Size(), 1u);
  PooledFrameQueue assigned;
  assigned.PushBack(Numbered(5));
  assigned = std::move(moved);
  EXPECT_EQ(assigned.Size(), 1u);
  EXPECT_EQ(assigned.PopFront()->created_ms, 1u);
}

TEST(PooledFrameQueue, DestroysWhatItHolds) {
  auto data = std::make_shared<LX::FrameData>();
  {
    PooledFrameQueue queue;
    for (uint64_t i = 0; i < 3; ++i) {
      queue.PushBack(Numbered(i));
    }
    auto last = Numbered(3);
    last->data = data;
    queue.PushBack(std::move(last));
    EXPECT_EQ(data.use_count(), 2);
  }
  EXPECT_EQ(data.use_count(), 1);
}

TEST(PooledFrame, AgesCountFromEnqueueAndFromTheStampOfTheData) {
  PooledFrame frame;
  frame.created_ms = 1000;
  frame.data = std::make_shared<LX::FrameData>();
  frame.data->stamp = 990;
  EXPECT_EQ(FrameAgeMs(frame, 1025), 25u);
  EXPECT_EQ(FrameDataAgeMs(frame, 1025), 35u);
}

TEST(PooledFrame, DataOfAnEmptyCarrierHasNoAge) {
  EXPECT_EQ(FrameDataAgeMs(PooledFrame(), 1025), 0u);
}

TEST(PooledFrame, MarksAreSetToNowBeforeTheirAgeIsGiven) {
  PooledFrame frame;
  frame.created_ms = 1000;
  EXPECT_EQ(MarkAAgeMs(frame, 1010), 10u);
  EXPECT_EQ(MarkBAgeMs(frame, 1030), 30u);
  EXPECT_EQ(frame.mark_a_ms, 1010u);
  EXPECT_EQ(frame.mark_b_ms, 1030u);
}

}  // namespace
}  // namespace vanta
