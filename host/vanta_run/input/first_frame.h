// The first frame of an input, without libobs.
#pragma once

#include <opencv2/core.hpp>

#include "input/input.h"

namespace vanta_run {

// BGR, as the filters' sources show it. Throws Failure(kExitInput).
cv::Mat FirstFrame(const Input &input);

}  // namespace vanta_run
