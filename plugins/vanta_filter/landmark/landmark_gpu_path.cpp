// The worker's GPU path: what it does with each texture, on the GPU worker's thread, and when that has ended.
#include <util/base.h>

#include <chrono>

#include "landmark/tessera_landmark_filter_worker.h"
#include "platform/clock.h"

namespace vanta {
namespace {

constexpr int64_t kMessagePeriodNs = std::chrono::nanoseconds(std::chrono::seconds(30)).count();

// One picture in thirty seconds is told of, whichever worker it belongs to.
bool IsVerbosePicture() {
  const int64_t now = SteadyClockNs();
  static std::atomic<int64_t> last_ns{now};
  if (now - last_ns < kMessagePeriodNs) return false;
  last_ns = now;
  return true;
}

// The picture goes nowhere: the texture's next user takes it with the same key.
bool KeepKeys(SharedTex &texture) {
  texture.release_key = texture.acquire_key;
  return false;
}

}  // namespace

bool TesseraLandmarkFilterWorker::OnSharedTexture(SharedTex *texture) {
  if (!texture) return false;
  if (stop_ || !d3d_device_ || !d3d_context_) return KeepKeys(*texture);
  if (!EnsureStagingTextureSize(texture->width, texture->height)) return KeepKeys(*texture);
  const bool verbose = IsVerbosePicture();
  uint8_t *pixels = nullptr;
  uint32_t pitch = 0;
  if (!MapSharedHandleToCPU(texture->shared_handle, texture->acquire_key, texture->release_key, d3d_device_,
                            d3d_context_, staging_texture_, &pixels, &pitch)) {
    if (verbose) blog(LOG_ERROR, "MapSharedHandleToCPU failed!");
    return KeepKeys(*texture);
  }
  // The keys have advanced: no picture, but the texture goes on.
  if (!pixels || pitch == 0) return true;
  RunPixels(pixels, pitch, *texture, verbose);
  return true;
}

bool TesseraLandmarkFilterWorker::EnsureStagingTextureSize(uint32_t width, uint32_t height) {
  if (staging_texture_ && (staging_width_ != width || staging_height_ != height))
    ReleaseStagingTexture(&staging_texture_);
  if (staging_texture_) return true;
  if (!CreateStagingTexture(width, height, d3d_device_, &staging_texture_)) return false;
  staging_width_ = width;
  staging_height_ = height;
  return true;
}

// A picture that cannot be converted leaves the runner with the one before.
void TesseraLandmarkFilterWorker::RunPixels(const uint8_t *pixels, uint32_t pitch, const SharedTex &texture,
                                            bool verbose) {
  MutexLock lock(gpu_mutex_);
  EnsureI420FrameSize(gpu_frame_, texture.width, texture.height);
  if (!RGBAtoI420(pixels, pitch, gpu_frame_.get()) && verbose) blog(LOG_ERROR, "RGBAtoI420 failed!");
  runner_.RunFrame(*gpu_frame_);
  if (verbose) blog(LOG_INFO, "Send data to corvid.");
}

void TesseraLandmarkFilterWorker::OnGpuWorkerExit() {
  ReleaseStagingTexture(&staging_texture_);
  DestroyD3DDevice(&d3d_device_, &d3d_context_);
  MutexLock lock(gpu_mutex_);
  gpu_frame_.reset();
}

}  // namespace vanta
