#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>
#include <vector>

#include "fixtures/process/alloc_counter.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace {

TEST(FramePool, RowsHaveThePitchesOfTheHostsFrames) {
  LX::FramePool pool;
  const auto even = pool.takeFrameDataNV12(640, 480, 0, 0);
  EXPECT_EQ(even->strides[0], 640);
  EXPECT_EQ(even->strides[1], 640);
  const auto odd = pool.takeFrameDataNV12(641, 481, 0, 0);
  EXPECT_EQ(odd->strides[0], 641);
  EXPECT_EQ(odd->strides[1], 642);
  EXPECT_EQ(odd->width, 641);
  EXPECT_EQ(odd->height, 481);
  EXPECT_EQ(odd->planes[2], nullptr);
}

TEST(FramePool, EveryByteOfBothPlanesCanBeWritten) {
  LX::FramePool pool;
  for (const auto &[width, height] : {std::pair(1, 1), {2, 2}, {3, 5}, {16384, 2}, {2, 16384}, {1919, 1079}}) {
    const auto frame = pool.takeFrameDataNV12(width, height, 0, 0);
    ASSERT_EQ(frame->width, width);
    std::memset(frame->planes[0], 1, static_cast<size_t>(frame->strides[0]) * static_cast<size_t>(height));
    std::memset(frame->planes[1], 2, static_cast<size_t>(frame->strides[1]) * static_cast<size_t>((height + 1) / 2));
    EXPECT_EQ(frame->planes[0][0], 1);
    EXPECT_EQ(frame->planes[1][0], 2);
  }
}

TEST(FramePool, PixelsBeginOnACacheLine) {
  LX::FramePool pool;
  const auto frame = pool.takeFrameDataNV12(333, 77, 0, 0);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(frame->planes[0]) % 64, 0u);
}

TEST(FramePool, SizesThatCannotBeHadGiveAFrameWithoutPixels) {
  LX::FramePool pool;
  for (const auto &[width, height] :
       {std::pair(0, 0), {0, 10}, {10, 0}, {-1, 10}, {10, -1}, {0x7fffffff, 0x7fffffff}, {65536, 65536}}) {
    const auto frame = pool.takeFrameDataNV12(width, height, 0, 0);
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(frame->width, 0);
    EXPECT_EQ(frame->height, 0);
    EXPECT_EQ(frame->planes[0], nullptr);
    EXPECT_EQ(frame->planes[1], nullptr);
  }
}

TEST(FramePool, AReturnedFrameIsHandedOutAgain) {
  LX::FramePool pool;
  auto frame = pool.takeFrameDataNV12(64, 64, 0, 0);
  const uint8_t *pixels = frame->planes[0];
  frame.reset();
  EXPECT_EQ(pool.takeFrameDataNV12(64, 64, 0, 0)->planes[0], pixels);
}

TEST(FramePool, NothingOfAnEarlierTripSurvives) {
  LX::FramePool pool;
  auto frame = pool.takeFrameDataNV12(64, 64, 0, 0);
  const uint8_t *pixels = frame->planes[0];
  frame->pixel_format = 4;
  frame->planes[1] = nullptr;
  frame->strides[0] = 1;
  frame->width = 7;
  frame->rotation = 90;
  frame->flip = 1;
  frame->tessera_ms = 1.0f;
  frame->beauty_ms = 2.0f;
  frame->dump_text = "text";
  frame->dump_flag = 1;
  frame->timestamp = 5;
  frame->shared_texture = std::make_shared<LX::DXGLSharedTexture>();
  std::weak_ptr<LX::DXGLSharedTexture> texture = frame->shared_texture;
  frame.reset();
  EXPECT_TRUE(texture.expired()) << "the pool keeps a texture alive";

  frame = pool.takeFrameDataNV12(64, 64, 0, 0);
  ASSERT_EQ(frame->planes[0], pixels);
  EXPECT_EQ(frame->pixel_format, -1);
  EXPECT_EQ(frame->planes[1], pixels + 64 * 64);
  EXPECT_EQ(frame->strides[0], 64);
  EXPECT_EQ(frame->width, 64);
  EXPECT_EQ(frame->rotation, 0);
  EXPECT_EQ(frame->flip, 0);
  EXPECT_EQ(frame->tessera_ms, 0.0f);
  EXPECT_EQ(frame->beauty_ms, 0.0f);
  EXPECT_TRUE(frame->dump_text.empty());
  EXPECT_EQ(frame->dump_flag, 0);
  EXPECT_EQ(frame->timestamp, 0u);
  EXPECT_EQ(frame->shared_texture, nullptr);
}

TEST(FramePool, AFrameMayOutliveThePool) {
  auto pool = std::make_unique<LX::FramePool>();
  const auto frame = pool->takeFrameDataNV12(64, 64, 0, 0);
  pool.reset();
  std::memset(frame->planes[0], 3, 64 * 64);
  EXPECT_EQ(frame->planes[0][64 * 64 - 1], 3);
}

TEST(FramePool, AFrameCanShareItself) {
  LX::FramePool pool;
  auto frame = pool.takeFrameDataNV12(16, 16, 0, 0);
  auto other = frame->shared_from_this();
  const uint8_t *pixels = frame->planes[0];
  frame.reset();
  EXPECT_NE(pool.takeFrameDataNV12(16, 16, 0, 0)->planes[0], pixels) << "the frame is still in use";
  EXPECT_EQ(other->planes[0], pixels);
}

TEST(FramePool, NoMoreFramesAreKeptThanTheCacheLimit) {
  LX::FramePool pool;
  pool.setMaxCachedFrameSize(1);
  auto first = pool.takeFrameDataNV12(64, 64, 0, 0);
  auto second = pool.takeFrameDataNV12(64, 64, 0, 0);
  first.reset();
  second.reset();
  const vanta_test::AllocCounter counter;
  first = pool.takeFrameDataNV12(64, 64, 0, 0);
  EXPECT_EQ(counter.OnThisThread(), 0u) << "one frame was kept";
  second = pool.takeFrameDataNV12(64, 64, 0, 0);
  EXPECT_GT(counter.OnThisThread(), 0u) << "the other was not";
}

TEST(FramePool, ALimitOfNothingKeepsNothing) {
  LX::FramePool pool;
  pool.setMaxCachedFrameSize(-3);
  pool.takeFrameDataNV12(64, 64, 0, 0).reset();
  const vanta_test::AllocCounter counter;
  const auto frame = pool.takeFrameDataNV12(64, 64, 0, 0);
  EXPECT_GT(counter.OnThisThread(), 0u);
}

TEST(FramePool, FramesOfAFormerSizeMakeRoom) {
  LX::FramePool pool;
  pool.setMaxCachedFrameSize(2);
  auto small = pool.takeFrameDataNV12(32, 32, 0, 0);
  auto other = pool.takeFrameDataNV12(32, 32, 0, 0);
  small.reset();
  other.reset();
  auto large = pool.takeFrameDataNV12(64, 64, 0, 0);
  auto second = pool.takeFrameDataNV12(64, 64, 0, 0);
  large.reset();
  second.reset();
  const vanta_test::AllocCounter counter;
  large = pool.takeFrameDataNV12(64, 64, 0, 0);
  second = pool.takeFrameDataNV12(64, 64, 0, 0);
  EXPECT_EQ(counter.OnThisThread(), 0u) << "both frames of the present size were kept";
}

TEST(FramePool, TakingAndReturningAllocatesNothingInTheSteadyState) {
  LX::FramePool pool;
  pool.setMaxCachedFrameSize(4);
  const auto trip = [&pool] {
    auto one = pool.takeFrameDataNV12(320, 240, 0, 0);
    auto two = pool.takeFrameDataNV12(320, 240, 0, 0);
    one->dump_flag = 0;
    two = pool.takeFrameDataNV12(320, 240, 0, 0);
  };
  for (int i = 0; i < 4; ++i) trip();
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < 100; ++i) trip();
  EXPECT_EQ(counter.OnThisThread(), 0u);
}

TEST(FramePool, ManyThreadsTakeAndReturnAtOnce) {
  LX::FramePool pool;
  pool.setMaxCachedFrameSize(3);
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&pool, &wrong, number] {
      for (int i = 0; i < 2000; ++i) {
        const int side = 16 + 16 * (i % 2);
        const auto frame = pool.takeFrameDataNV12(side, side, 0, 0);
        std::memset(frame->planes[0], number, static_cast<size_t>(side) * static_cast<size_t>(side));
        if (frame->width != side || frame->planes[0][side * side - 1] != number) ++wrong;
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(FrameData, ACopyNamesTheSamePixels) {
  LX::FramePool pool;
  const auto frame = pool.takeFrameDataNV12(16, 16, 0, 0);
  frame->rotation = 90;
  frame->dump_text = "text";
  const LX::FrameData copy(*frame);
  EXPECT_EQ(copy.planes[0], frame->planes[0]);
  EXPECT_EQ(copy.rotation, 90);
  EXPECT_EQ(copy.dump_text, "text");
  LX::FrameData assigned;
  EXPECT_EQ(assigned.pixel_format, -1);
  assigned = *frame;
  EXPECT_EQ(assigned.planes[1], frame->planes[1]);
}

TEST(DXGLSharedTexture, KeepsTheKeyThatItIsGiven) {
  LX::DXGLSharedTexture texture;
  EXPECT_EQ(texture.handle, 0u);
  EXPECT_EQ(texture.getKeyValue(), 0u);
  texture.setKeyValue(7);
  texture.waitSync();
  EXPECT_EQ(texture.getKeyValue(), 7u);
}

}  // namespace
