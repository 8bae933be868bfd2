#include "capture/canvas_grab.h"

#include <opencv2/imgproc.hpp>

namespace vanta_run {

CanvasGrab::CanvasGrab(obs_sceneitem_t *keyed) {
  obs_video_info video{};
  if (!obs_get_video_info(&video)) return;
  width_ = static_cast<int>(video.output_width);
  height_ = static_cast<int>(video.output_height);
  if (keyed != nullptr) mattes_.emplace(keyed);
  video_scale_info wanted{VIDEO_FORMAT_BGRA, video.output_width, video.output_height, VIDEO_RANGE_FULL, VIDEO_CS_SRGB};
  obs_add_raw_video_callback(&wanted, OnFrame, this);
}

CanvasGrab::~CanvasGrab() {
  obs_remove_raw_video_callback(OnFrame, this);
}

bool CanvasGrab::Came() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !taken_.picture.empty();
}

CanvasPicture CanvasGrab::Taken() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return taken_;
}

void CanvasGrab::OnFrame(void *param, video_data *frame) {
  auto *grab = static_cast<CanvasGrab *>(param);
  const std::lock_guard<std::mutex> lock(grab->mutex_);
  if (!grab->taken_.picture.empty()) return;
  if (grab->mattes_) {
    grab->taken_.matte = grab->mattes_->At(frame->timestamp);
    if (grab->taken_.matte.empty()) return;  // drawn before the mattes were kept: the next frame will do
  }
  const cv::Mat bgra(grab->height_, grab->width_, CV_8UC4, frame->data[0], frame->linesize[0]);
  cv::cvtColor(bgra, grab->taken_.picture, cv::COLOR_BGRA2BGR);
}

}  // namespace vanta_run
