// One picture of the canvas, exactly as the encoder gets it.
#pragma once

#include <opencv2/core.hpp>

namespace vanta_run {

// Waits for the next frame. Empty when none came within five seconds. Threads: [control].
cv::Mat GrabCanvas();

}  // namespace vanta_run
