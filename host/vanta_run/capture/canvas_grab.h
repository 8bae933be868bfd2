// One picture of the canvas, exactly as the encoder gets it, and the matte of the same frame.
#pragma once

#include <obs.h>

#include <opencv2/core.hpp>

namespace vanta_run {

struct CanvasGrab {
  cv::Mat picture;  // BGR; empty when no frame came
  cv::Mat matte;    // the alpha of one item on the canvas, one byte a pixel; empty where it was not wanted
};

// Waits for the next frame, five seconds at most. `keyed`: the item whose matte is wanted, or null.
// Threads: [control].
CanvasGrab GrabCanvas(obs_sceneitem_t *keyed);

}  // namespace vanta_run
