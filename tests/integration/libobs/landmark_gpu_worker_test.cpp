// The landmark filter's GPU worker and its read-back device on libobs's own renderer.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <obs.hpp>
#include <thread>
#include <vector>

#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "landmark/landmark_filter_gpu_worker.h"
#include "landmark/map_context.h"
#include "obs/graphics_scope.h"

namespace vanta_integration {
namespace {

using vanta::GraphicsScope;
using vanta::SharedTex;
using Worker = vanta::TesseraLandmarkFilterGpuWorker;
using Pixels = std::vector<uint8_t>;

// Every pixel is another one.
Picture Pattern(uint32_t width, uint32_t height, uint32_t seed) {
  Picture picture(width, height);
  for (size_t i = 0; i < picture.pixels.size(); ++i)
    picture.pixels[i] = static_cast<uint8_t>((i * 2654435761u + seed * 40503u) >> 13);
  return picture;
}

// A texture as a capture leaves it, inside graphics.
class Captured {
 public:
  explicit Captured(const Picture &picture) {
    const uint8_t *pixels = picture.pixels.data();
    texture_ = gs_texture_create(picture.width, picture.height, GS_RGBA, 1, &pixels, 0);
  }
  ~Captured() { gs_texture_destroy(texture_); }
  Captured(const Captured &) = delete;
  Captured &operator=(const Captured &) = delete;
  gs_texture_t *Get() const { return texture_; }

 private:
  gs_texture_t *texture_;
};

// Reads every texture back, as the landmark worker does.
class Reader {
 public:
  bool CreateDevice() { return vanta::CreateD3DDevice(&device_, &context_); }
  bool Read(SharedTex *texture) {
    if (refuse_) {
      texture->release_key = texture->acquire_key;
      return false;
    }
    if (texture->width != width_ || texture->height != height_) {
      vanta::ReleaseStagingTexture(&staging_);
      if (!vanta::CreateStagingTexture(texture->width, texture->height, device_, &staging_)) return false;
      width_ = texture->width;
      height_ = texture->height;
    }
    uint8_t *data = nullptr;
    uint32_t pitch = 0;
    if (!vanta::MapSharedHandleToCPU(texture->shared_handle, texture->acquire_key, texture->release_key, device_,
                                     context_, staging_, &data, &pitch) ||
        !data) {
      texture->release_key = texture->acquire_key;
      return false;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    pictures_.emplace_back(data, data + size_t{pitch} * height_);
    return true;
  }
  void Refuse(bool refuse) { refuse_ = refuse; }
  void Destroy() {
    vanta::ReleaseStagingTexture(&staging_);
    vanta::DestroyD3DDevice(&device_, &context_);
  }
  std::vector<Pixels> Pictures() {
    std::lock_guard<std::mutex> lock(mutex_);
    return pictures_;
  }
  bool WaitFor(size_t count) {
    return vanta_test::WaitUntil([&] { return Pictures().size() >= count; }, "pictures read back");
  }
  bool HasDevice() const { return device_ != nullptr; }

 private:
  vanta::TextureDevice *device_ = nullptr;
  vanta::TextureDeviceContext *context_ = nullptr;
  vanta::StagingTexture *staging_ = nullptr;
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  std::atomic<bool> refuse_{false};
  std::mutex mutex_;
  std::vector<Pixels> pictures_;
};

class LandmarkGpuWorker : public testing::Test {
 protected:
  // A filter of the module tells the host's extensions what worker threads must know of the renderer.
  LandmarkGpuWorker() : filter_(obs_source_create_private("LX_green_screen_filter", "any", nullptr)) {}
  ~LandmarkGpuWorker() override {
    const GraphicsScope graphics;
    worker_.reset();
  }
  void SetUp() override {
    ASSERT_TRUE(std::async(std::launch::async, [this] { return reader_.CreateDevice(); }).get());
    worker_ = std::make_unique<Worker>();
    worker_->AddHandler([this](SharedTex *texture) { return reader_.Read(texture); });
    worker_->SetExitCallback([this] { reader_.Destroy(); });
  }
  void Enqueue(const Picture &picture) {
    const GraphicsScope graphics;
    const Captured captured(picture);
    worker_->EnqueueTexture(captured.Get());
  }
  // At a pace that leaves a texture free.
  void EnqueueAndWait(const Picture &picture) {
    const size_t before = reader_.Pictures().size();
    Enqueue(picture);
    reader_.WaitFor(before + 1);
  }

  ObsSession session_;
  OBSSourceAutoRelease filter_;
  Reader reader_;
  std::unique_ptr<Worker> worker_;
};

TEST_F(LandmarkGpuWorker, ReadsEveryPixelBackBitForBit) {
  const Picture picture = Pattern(321, 243, 1);
  EnqueueAndWait(picture);
  ASSERT_EQ(reader_.Pictures().size(), 1u);
  EXPECT_EQ(reader_.Pictures()[0], picture.pixels);
}

TEST_F(LandmarkGpuWorker, HandsThePicturesOverInOrderThroughSixTextures) {
  constexpr uint32_t kPictures = 40;
  for (uint32_t i = 0; i < kPictures; ++i) EnqueueAndWait(Pattern(64, 48, i));
  const std::vector<Pixels> read = reader_.Pictures();
  ASSERT_EQ(read.size(), kPictures);
  for (uint32_t i = 0; i < kPictures; ++i) EXPECT_EQ(read[i], Pattern(64, 48, i).pixels) << "picture " << i;
}

TEST_F(LandmarkGpuWorker, ChangeOfSizeIsFollowed) {
  for (uint32_t width : {64u, 100u, 33u, 64u}) EnqueueAndWait(Pattern(width, 48, width));
  const std::vector<Pixels> read = reader_.Pictures();
  ASSERT_EQ(read.size(), 4u);
  EXPECT_EQ(read[1], Pattern(100, 48, 100).pixels);
  EXPECT_EQ(read[2], Pattern(33, 48, 33).pixels);
  EXPECT_EQ(read[3], Pattern(64, 48, 64).pixels);
}

TEST_F(LandmarkGpuWorker, HandlerThatNeverHadTheLocksLeavesThemUsable) {
  reader_.Refuse(true);
  for (uint32_t i = 0; i < 6; ++i) Enqueue(Pattern(64, 48, i));
  reader_.Refuse(false);
  for (uint32_t i = 0; i < 18; ++i) EnqueueAndWait(Pattern(64, 48, 100 + i));
  EXPECT_EQ(reader_.Pictures().back(), Pattern(64, 48, 117).pixels);
}

// Somebody inside graphics may be waiting for the worker's threads.
TEST_F(LandmarkGpuWorker, ReadsWhileGraphicsIsHeldElsewhere) {
  const GraphicsScope graphics;
  const Picture picture = Pattern(64, 48, 7);
  const Captured captured(picture);
  worker_->EnqueueTexture(captured.Get());
  ASSERT_TRUE(reader_.WaitFor(1));
  EXPECT_EQ(reader_.Pictures()[0], picture.pixels);
  worker_->StopAndJoin();
}

TEST_F(LandmarkGpuWorker, DeviceIsMadeWhileGraphicsIsHeldElsewhere) {
  const GraphicsScope graphics;
  Reader other;
  EXPECT_TRUE(std::async(std::launch::async, [&] { return other.CreateDevice(); }).get());
  other.Destroy();
}

TEST_F(LandmarkGpuWorker, EndLeavesGraphicsUsable) {
  EnqueueAndWait(Pattern(64, 48, 7));
  const GraphicsScope graphics;
  worker_.reset();
  EXPECT_FALSE(reader_.HasDevice());
  const Captured captured(Pattern(64, 48, 8));
  gs_stagesurf_t *stage = gs_stagesurface_create(64, 48, GS_RGBA);
  gs_stage_texture(stage, captured.Get());
  uint8_t *data = nullptr;
  uint32_t pitch = 0;
  ASSERT_TRUE(gs_stagesurface_map(stage, &data, &pitch));
  EXPECT_EQ(data[5], Pattern(64, 48, 8).pixels[5]);
  gs_stagesurface_unmap(stage);
  gs_stagesurface_destroy(stage);
}

TEST_F(LandmarkGpuWorker, EndWithTexturesUnderWayLeavesNothingBehind) {
  for (uint32_t i = 0; i < 6; ++i) Enqueue(Pattern(64, 48, i));
  const GraphicsScope graphics;
  worker_->StopAndJoin();
  worker_.reset();
  EXPECT_FALSE(reader_.HasDevice());
}

TEST(LandmarkGpuWorkerAlone, NoFilterMeansNoDevice) {
  const ObsSession session;
  const vanta_test::LogCapture log;
  Reader reader;
  EXPECT_FALSE(reader.CreateDevice());
  EXPECT_TRUE(log.Has(LOG_ERROR, "no GL context beside the host's"));
}

}  // namespace
}  // namespace vanta_integration
