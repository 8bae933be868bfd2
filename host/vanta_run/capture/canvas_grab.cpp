#include "capture/canvas_grab.h"

#include <obs.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <opencv2/imgproc.hpp>
#include <optional>

#include "capture/matte_keeper.h"

namespace vanta_run {
namespace {

struct Grab {
  std::mutex mutex;
  std::condition_variable came;
  CanvasGrab taken;  // guarded by mutex
  std::optional<MatteKeeper> mattes;
  int width, height;
};

void OnFrame(void *param, video_data *frame) {
  auto *grab = static_cast<Grab *>(param);
  std::lock_guard<std::mutex> lock(grab->mutex);
  if (!grab->taken.picture.empty()) return;
  if (grab->mattes) {
    grab->taken.matte = grab->mattes->At(frame->timestamp);
    if (grab->taken.matte.empty()) return;  // drawn before the mattes were kept: the next frame will do
  }
  const cv::Mat bgra(grab->height, grab->width, CV_8UC4, frame->data[0], frame->linesize[0]);
  cv::cvtColor(bgra, grab->taken.picture, cv::COLOR_BGRA2BGR);
  grab->came.notify_all();
}

}  // namespace

CanvasGrab GrabCanvas(obs_sceneitem_t *keyed) {
  obs_video_info video{};
  if (!obs_get_video_info(&video)) return {};
  Grab grab;
  grab.width = static_cast<int>(video.output_width);
  grab.height = static_cast<int>(video.output_height);
  if (keyed != nullptr) grab.mattes.emplace(keyed);
  video_scale_info wanted{VIDEO_FORMAT_BGRA, video.output_width, video.output_height, VIDEO_RANGE_FULL, VIDEO_CS_SRGB};
  obs_add_raw_video_callback(&wanted, OnFrame, &grab);
  {
    std::unique_lock<std::mutex> lock(grab.mutex);
    grab.came.wait_for(lock, std::chrono::seconds(5), [&grab] { return !grab.taken.picture.empty(); });
  }
  obs_remove_raw_video_callback(OnFrame, &grab);
  return grab.taken;
}

}  // namespace vanta_run
