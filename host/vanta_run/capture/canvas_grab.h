// One picture of the canvas, exactly as the encoder gets it, and the matte of the same frame.
#pragma once

#include <obs.h>

#include <mutex>
#include <opencv2/core.hpp>
#include <optional>

#include "capture/matte_keeper.h"

namespace vanta_run {

struct CanvasPicture {
  cv::Mat picture;  // BGR; empty when no frame came
  cv::Mat matte;    // the alpha of one item on the canvas, one byte a pixel; empty where it was not wanted
};

// Takes the next frame that libobs delivers, and the matte of the same one.
// Threads: [control]; frames come on libobs's video thread.
class CanvasGrab {
 public:
  // `keyed`: the item whose matte is wanted, or null.
  explicit CanvasGrab(obs_sceneitem_t *keyed);
  ~CanvasGrab();
  CanvasGrab(const CanvasGrab &) = delete;
  CanvasGrab &operator=(const CanvasGrab &) = delete;

  bool Came() const;
  CanvasPicture Taken() const;

 private:
  static void OnFrame(void *param, video_data *frame);

  int width_ = 0, height_ = 0;
  std::optional<MatteKeeper> mattes_;

  mutable std::mutex mutex_;
  CanvasPicture taken_;  // guarded by mutex_
};

}  // namespace vanta_run
