// Every block of the host's allocator ends at a page that nobody may touch: what the scaler reads past the staging
// frame must be the staging frame's own.
#include <algorithm>
#include <cstring>
#include <map>
#include <mutex>
#include <string>

#include <gtest/gtest.h>
#include <util/bmem.h>

#include "fixtures/frames/guarded_frame.h"
#include "fixtures/frames/host_frame.h"
#include "frames/face_beauty_frame_factory.h"

namespace {

using vanta_test::GuardedMemory;
using vanta_test::GuardSide;

constexpr size_t kAlignment = 32;  // of the host's allocator

struct Block {
  GuardedMemory memory;
  size_t size;
};

std::mutex &BlocksMutex() {
  static auto *mutex = new std::mutex;
  return *mutex;
}
std::map<void *, Block> &Blocks() {
  static auto *blocks = new std::map<void *, Block>;  // outlives libobs's own tear-down
  return *blocks;
}

}  // namespace

// These win over libobs's own, inside libobs too.
extern "C" {
[[gnu::visibility("default")]] void *bmalloc(size_t size) {
  GuardedMemory memory((size + kAlignment - 1) / kAlignment * kAlignment, GuardSide::kBehind);
  void *const data = memory.data();
  std::lock_guard<std::mutex> lock(BlocksMutex());
  Blocks().emplace(data, Block{std::move(memory), size});
  return data;
}
[[gnu::visibility("default")]] void bfree(void *block) {
  std::lock_guard<std::mutex> lock(BlocksMutex());
  Blocks().erase(block);
}
[[gnu::visibility("default")]] void *brealloc(void *block, size_t size) {
  void *const moved = bmalloc(size);
  if (block) {
    size_t old_size;
    {
      std::lock_guard<std::mutex> lock(BlocksMutex());
      old_size = Blocks().at(block).size;
    }
    std::memcpy(moved, block, std::min(size, old_size));
    bfree(block);
  }
  return moved;
}
}

namespace vanta {
namespace {

class StagingFrame : public testing::TestWithParam<video_format> {};

TEST_P(StagingFrame, HasRoomForWhatTheScalerReadsPastIt) {
  for (uint32_t width = 1; width <= 65; ++width) {
    for (uint32_t height = 1; height <= 4; ++height) {
      FaceBeautyFrameFactory factory;
      const auto host = vanta_test::MakeHostFrame(GetParam(), width, height);
      factory.PutInput(factory.TakeFreeFrame(width, height), host.get());
      const PooledFramePtr frame = factory.TakeNextInput();
      ASSERT_NE(frame, nullptr);
      EXPECT_TRUE(factory.CopyToObsFrame(*frame, host.get()));
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, StagingFrame, testing::ValuesIn(vanta_test::ScalableFormats()),
                         [](const auto &info) { return std::string(get_video_format_name(info.param)); });

}  // namespace
}  // namespace vanta
