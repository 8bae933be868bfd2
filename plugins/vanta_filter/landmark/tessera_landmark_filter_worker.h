// `TesseraLandmarkFilterWorker` turns captured pictures into published faces, on threads of its own.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include <graphics/graphics.h>

#include "landmark/landmark_filter_gpu_worker.h"
#include "landmark/landmark_runner.h"
#include "landmark/map_context.h"
#include "landmark/rgba_buffer.h"
#include "landmark/rgba_to_i420.h"
#include "obs/graphics_scope.h"
#include "platform/cond_var.h"
#include "platform/thread.h"
#include "vanta_base/mutex.h"

namespace vanta {

// Pictures come on one of two paths, as the host chooses: read back already, through PushFrame, or as textures, through
// CopyTexture, which the GPU worker's thread reads back. On the first path the newest picture waits; one that the
// runner has no time for is dropped, unlogged. Owns: its thread, the runner, the GPU worker with its device, one
// picture and one frame for each path. Threads: PushFrame, CopyTexture, destructor [render]; Stop [any]. Neither thread
// of it enters graphics, and no receiver of its signal may: the destructor joins them with the graphics context held.
class TesseraLandmarkFilterWorker {
 public:
  // Throws std::system_error when no thread can be made.
  TesseraLandmarkFilterWorker();
  ~TesseraLandmarkFilterWorker();
  TesseraLandmarkFilterWorker(const TesseraLandmarkFilterWorker &) = delete;
  TesseraLandmarkFilterWorker &operator=(const TesseraLandmarkFilterWorker &) = delete;

  // Copies `height` rows of `linesize` bytes, pixels in bytes R, G, B, A. A change of shape that keeps the number of
  // bytes is not seen. False, and nothing copied, after Stop.
  bool PushFrame(const uint8_t *pixels, uint32_t width, uint32_t height, uint32_t linesize);
  // Hands the target's texture to the GPU worker, where there is one.
  void CopyTexture(gs_texrender_t *target) VANTA_REQUIRES(graphics_context);
  // Asks the thread to end and returns at once. May come more than once.
  void Stop();

 private:
  // The thread, in the order of its life.
  void ThreadMain();
  void SetUpGpuPath();
  void WaitForPicture();
  void RunNewestPicture();

  // Called back by the GPU worker, on its thread and at its end. False: the picture went nowhere.
  bool OnSharedTexture(SharedTex *texture);
  void OnGpuWorkerExit();
  bool EnsureStagingTextureSize(uint32_t width, uint32_t height);
  void RunPixels(const uint8_t *pixels, uint32_t pitch, const SharedTex &texture, bool verbose);

  std::atomic<bool> stop_{false};
  std::atomic<bool> initialized_{false};  // all that the thread sets up is there
  LandmarkRunner runner_;                 // one path's thread uses it, whichever the host chose

  Mutex wake_mutex_;
  CondVar wake_;

  Mutex cpu_mutex_;
  std::unique_ptr<RgbaBuffer> input_ VANTA_GUARDED_BY(cpu_mutex_);  // the newest picture
  OwnedFrame cpu_frame_;                                            // the thread's

  // Of the GPU worker's thread once `initialized_` is set.
  TextureDevice *d3d_device_ = nullptr;
  TextureDeviceContext *d3d_context_ = nullptr;
  StagingTexture *staging_texture_ = nullptr;
  uint32_t staging_width_ = 0;   // pixels
  uint32_t staging_height_ = 0;  // pixels

  Mutex gpu_mutex_;
  OwnedFrame gpu_frame_ VANTA_GUARDED_BY(gpu_mutex_);
  std::unique_ptr<TesseraLandmarkFilterGpuWorker> gpu_worker_;  // null on the other path and without a device

  WorkerThread thread_;
};

}  // namespace vanta
