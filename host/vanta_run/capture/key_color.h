// Finds the colour of a green or blue backing.
#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <string>

namespace vanta_run {

// Red, green and blue, 0 to 1: the middle of the most frequent green or blue hue, near the left, upper and right
// border or, where there is too little of it there, in the whole picture. Empty where no such hue is frequent.
std::optional<cv::Vec3d> FindBackingColor(const cv::Mat &bgr);

// A config of the green screen with nothing but this colour.
std::string KeyColorConfig(const cv::Vec3d &color);

}  // namespace vanta_run
