// A host frame as a picture that can be drawn on and written.
#pragma once

#include <obs.h>

#include <opencv2/core.hpp>
#include <string>

#include "common/pending_file.h"

namespace vanta_run {

// BGR, or empty where libobs has no conversion from the frame's format.
cv::Mat ToPicture(const obs_source_frame &frame);

// Both pictures side by side, each with its label drawn above it.
cv::Mat SideBySide(const cv::Mat &left, const std::string &left_label, const cv::Mat &right,
                   const std::string &right_label);

// Throws Failure(kExitOutput).
void WritePng(PendingFile &file, const cv::Mat &picture);

}  // namespace vanta_run
