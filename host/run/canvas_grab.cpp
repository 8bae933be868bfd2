#include "canvas_grab.h"

#include <obs.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <opencv2/imgproc.hpp>

namespace vanta_run {
namespace {

struct Grab {
  std::mutex mutex;
  std::condition_variable came;
  cv::Mat picture;  // guarded by mutex
  int width, height;
};

void OnFrame(void *param, video_data *frame) {
  auto *grab = static_cast<Grab *>(param);
  std::lock_guard<std::mutex> lock(grab->mutex);
  if (!grab->picture.empty()) return;
  const cv::Mat bgra(grab->height, grab->width, CV_8UC4, frame->data[0], frame->linesize[0]);
  cv::cvtColor(bgra, grab->picture, cv::COLOR_BGRA2BGR);
  grab->came.notify_all();
}

}  // namespace

cv::Mat GrabCanvas() {
  obs_video_info video{};
  if (!obs_get_video_info(&video)) return {};
  Grab grab;
  grab.width = static_cast<int>(video.output_width);
  grab.height = static_cast<int>(video.output_height);
  video_scale_info wanted{VIDEO_FORMAT_BGRA, video.output_width, video.output_height, VIDEO_RANGE_FULL, VIDEO_CS_SRGB};
  obs_add_raw_video_callback(&wanted, OnFrame, &grab);
  {
    std::unique_lock<std::mutex> lock(grab.mutex);
    grab.came.wait_for(lock, std::chrono::seconds(5), [&grab] { return !grab.picture.empty(); });
  }
  obs_remove_raw_video_callback(OnFrame, &grab);
  return grab.picture;
}

}  // namespace vanta_run
