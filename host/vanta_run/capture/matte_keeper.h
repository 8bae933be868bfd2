// The alpha of an item on the canvas, for each frame that libobs draws.
#pragma once

#include <obs.h>

#include <cstdint>
#include <deque>
#include <mutex>
#include <opencv2/core.hpp>

namespace vanta_run {

// Draws the item once more with every frame of the canvas and keeps the newest alphas with the frames' times.
// Owns: the target and the surface it is read from. Borrows: the item.
// Threads: construction, destruction [control]; At [any].
class MatteKeeper {
 public:
  explicit MatteKeeper(obs_sceneitem_t *item);
  ~MatteKeeper();
  MatteKeeper(const MatteKeeper &) = delete;
  MatteKeeper &operator=(const MatteKeeper &) = delete;

  // Of the canvas frame that is delivered with this timestamp, in the canvas's size, one byte a pixel, 0 where the item
  // is clear or absent. Empty where none is kept.
  cv::Mat At(uint64_t timestamp);

 private:
  struct Matte {
    uint64_t time;  // nanoseconds, as video frames have it
    cv::Mat alpha;
  };

  static void OnDraw(void *param, uint32_t width, uint32_t height);
  bool DrawItem(uint32_t width, uint32_t height);
  cv::Mat ReadAlpha(uint32_t width, uint32_t height);

  obs_sceneitem_t *const item_;
  gs_texrender_t *target_ = nullptr;     // [render]
  gs_stagesurf_t *read_back_ = nullptr;  // [render]

  std::mutex mutex_;
  std::deque<Matte> mattes_;  // guarded by mutex_; the newest last
};

}  // namespace vanta_run
