#include "input/turned_video.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

#include <opencv2/core.hpp>

#include "clock/frame_change.h"
#include "input/media_guard.h"

namespace vanta_run {
namespace {

// Those that play, and what guards them and their frames: a file's thread may still be at work when one goes.
std::mutex mutex;
std::vector<TurnedVideo *> videos;

struct Plane {
  int type;  // of its pixels, as OpenCV has them
  int step;  // pixels of the picture for one of the plane's, in both directions
};

// Empty for those whose planes are not as coarse in one direction as in the other.
std::vector<Plane> PlanesOf(video_format format) {
  switch (format) {
    case VIDEO_FORMAT_I420:
      return {{CV_8UC1, 1}, {CV_8UC1, 2}, {CV_8UC1, 2}};
    case VIDEO_FORMAT_I40A:
      return {{CV_8UC1, 1}, {CV_8UC1, 2}, {CV_8UC1, 2}, {CV_8UC1, 1}};
    case VIDEO_FORMAT_NV12:
      return {{CV_8UC1, 1}, {CV_8UC2, 2}};
    case VIDEO_FORMAT_I010:
      return {{CV_16UC1, 1}, {CV_16UC1, 2}, {CV_16UC1, 2}};
    case VIDEO_FORMAT_P010:
      return {{CV_16UC1, 1}, {CV_16UC2, 2}};
    case VIDEO_FORMAT_I444:
      return {{CV_8UC1, 1}, {CV_8UC1, 1}, {CV_8UC1, 1}};
    case VIDEO_FORMAT_YUVA:
      return {{CV_8UC1, 1}, {CV_8UC1, 1}, {CV_8UC1, 1}, {CV_8UC1, 1}};
    case VIDEO_FORMAT_I412:
      return {{CV_16UC1, 1}, {CV_16UC1, 1}, {CV_16UC1, 1}};
    case VIDEO_FORMAT_RGBA:
    case VIDEO_FORMAT_BGRA:
    case VIDEO_FORMAT_BGRX:
      return {{CV_8UC4, 1}};
    default:
      return {};
  }
}

// Its pixels stay the frame's.
cv::Mat PlaneOf(const obs_source_frame &frame, const Plane &plane, size_t index) {
  const auto length = [&plane](uint32_t pixels) { return (static_cast<int>(pixels) + plane.step - 1) / plane.step; };
  return {length(frame.height), length(frame.width), plane.type, frame.data[index], frame.linesize[index]};
}

}  // namespace

void TakeColors(const obs_source_frame &from, obs_source_frame &to) {
  std::copy(std::begin(from.color_matrix), std::end(from.color_matrix), to.color_matrix);
  std::copy(std::begin(from.color_range_min), std::end(from.color_range_min), to.color_range_min);
  std::copy(std::begin(from.color_range_max), std::end(from.color_range_max), to.color_range_max);
  to.full_range = from.full_range;
  to.max_luminance = from.max_luminance;
  to.flip = from.flip;
  to.flags = from.flags;
  to.trc = from.trc;
}

TurnedVideo::TurnedVideo(const obs_source_t *source, int degrees) : source_(source), degrees_(degrees) {
  const std::lock_guard<std::mutex> lock(mutex);
  videos.push_back(this);
  SetFrameChange(Change);
}

TurnedVideo::~TurnedVideo() {
  const std::lock_guard<std::mutex> lock(mutex);
  std::erase(videos, this);
}

bool TurnedVideo::Change(obs_source_t *source, const obs_source_frame &frame,
                         void (*pass)(obs_source_t *source, const obs_source_frame *frame)) {
  if (!OnMediaThread()) return false;  // frames of the program's own are upright
  const std::lock_guard<std::mutex> lock(mutex);
  const auto found =
      std::find_if(videos.begin(), videos.end(), [source](const auto *it) { return it->source_ == source; });
  const obs_source_frame *const turned = found != videos.end() ? (*found)->Turn(frame) : nullptr;
  if (turned != nullptr) pass(source, turned);
  return turned != nullptr;
}

const obs_source_frame *TurnedVideo::Turn(const obs_source_frame &frame) {
  const std::vector<Plane> planes = PlanesOf(frame.format);
  if (planes.empty()) return nullptr;
  uint32_t width = frame.width, height = frame.height;
  if (degrees_ != 180) std::swap(width, height);
  if (!turned_ || turned_->format != frame.format || turned_->width != width || turned_->height != height) {
    turned_.reset(obs_source_frame_create(frame.format, width, height));
  }
  TakeColors(frame, *turned_);
  turned_->timestamp = frame.timestamp;
  // What lies upside down in memory is turned the other way.
  const bool clockwise = (degrees_ == 90) != frame.flip;
  const int code = degrees_ == 180 ? cv::ROTATE_180
                   : clockwise     ? cv::ROTATE_90_CLOCKWISE
                                   : cv::ROTATE_90_COUNTERCLOCKWISE;
  for (size_t i = 0; i < planes.size(); ++i) {
    cv::Mat to = PlaneOf(*turned_, planes[i], i);
    cv::rotate(PlaneOf(frame, planes[i], i), to, code);
  }
  return turned_.get();
}

}  // namespace vanta_run
