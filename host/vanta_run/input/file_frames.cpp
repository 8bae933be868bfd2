#include "input/file_frames.h"

#include <algorithm>
#include <iterator>
#include <mutex>
#include <utility>
#include <vector>

#include <opencv2/imgproc.hpp>

#include "clock/frame_change.h"
#include "input/media_guard.h"

namespace vanta_run {
namespace {

// Those that play, and what guards them and their frames: a file's thread may still be at work when one goes.
std::mutex mutex;
std::vector<FileFrames *> all;

// 4:2:2 turned by a quarter would be coarser in the other direction, and libobs has no such format.
video_format UprightFormat(video_format format) {
  switch (format) {
    case VIDEO_FORMAT_I422:
    case VIDEO_FORMAT_YUY2:
    case VIDEO_FORMAT_UYVY:
      return VIDEO_FORMAT_I420;
    case VIDEO_FORMAT_I210:
      return VIDEO_FORMAT_I010;
    case VIDEO_FORMAT_I42A:
      return VIDEO_FORMAT_I40A;
    default:
      return format;
  }
}

// Pixels of the picture for one sample of a plane.
struct Step {
  int x, y;
};

// The plane's samples stay the frame's.
cv::Mat PlaneOf(const obs_source_frame &frame, size_t index, int type, Step step) {
  const auto length = [](uint32_t pixels, int each) { return (static_cast<int>(pixels) + each - 1) / each; };
  return {length(frame.height, step.y), length(frame.width, step.x), type, frame.data[index], frame.linesize[index]};
}

std::vector<cv::Mat> Planar(const obs_source_frame &frame, int type, Step chroma, bool alpha = false) {
  std::vector<cv::Mat> planes = {PlaneOf(frame, 0, type, {1, 1}), PlaneOf(frame, 1, type, chroma),
                                 PlaneOf(frame, 2, type, chroma)};
  if (alpha) planes.push_back(PlaneOf(frame, 3, type, {1, 1}));
  return planes;
}

// Four bytes for two pixels, taken apart. `luma`: where the first of them stands.
std::vector<cv::Mat> Unpacked(const obs_source_frame &frame, int luma) {
  std::vector<cv::Mat> planes(3);
  cv::extractChannel(PlaneOf(frame, 0, CV_8UC2, {1, 1}), planes[0], luma);
  const cv::Mat pairs = PlaneOf(frame, 0, CV_8UC4, {2, 1});
  cv::extractChannel(pairs, planes[1], 1 - luma);
  cv::extractChannel(pairs, planes[2], 3 - luma);
  return planes;
}

// Empty for a format that the media source does not give.
std::vector<cv::Mat> PlanesOf(const obs_source_frame &frame) {
  switch (frame.format) {
    case VIDEO_FORMAT_I420:
      return Planar(frame, CV_8UC1, {2, 2});
    case VIDEO_FORMAT_I40A:
      return Planar(frame, CV_8UC1, {2, 2}, true);
    case VIDEO_FORMAT_I422:
      return Planar(frame, CV_8UC1, {2, 1});
    case VIDEO_FORMAT_I42A:
      return Planar(frame, CV_8UC1, {2, 1}, true);
    case VIDEO_FORMAT_I444:
      return Planar(frame, CV_8UC1, {1, 1});
    case VIDEO_FORMAT_YUVA:
      return Planar(frame, CV_8UC1, {1, 1}, true);
    case VIDEO_FORMAT_I010:
      return Planar(frame, CV_16UC1, {2, 2});
    case VIDEO_FORMAT_I210:
      return Planar(frame, CV_16UC1, {2, 1});
    case VIDEO_FORMAT_I412:
      return Planar(frame, CV_16UC1, {1, 1});
    case VIDEO_FORMAT_YA2L:
      return Planar(frame, CV_16UC1, {1, 1}, true);
    case VIDEO_FORMAT_NV12:
      return {PlaneOf(frame, 0, CV_8UC1, {1, 1}), PlaneOf(frame, 1, CV_8UC2, {2, 2})};
    case VIDEO_FORMAT_P010:
      return {PlaneOf(frame, 0, CV_16UC1, {1, 1}), PlaneOf(frame, 1, CV_16UC2, {2, 2})};
    case VIDEO_FORMAT_YUY2:
      return Unpacked(frame, 0);
    case VIDEO_FORMAT_UYVY:
      return Unpacked(frame, 1);
    case VIDEO_FORMAT_RGBA:
    case VIDEO_FORMAT_BGRA:
    case VIDEO_FORMAT_BGRX:
      return {PlaneOf(frame, 0, CV_8UC4, {1, 1})};
    default:
      return {};
  }
}

void TurnPlane(cv::Mat from, cv::Mat to, int clockwise, bool mirrored) {
  const cv::Size size = clockwise % 180 == 0 ? to.size() : cv::Size(to.rows, to.cols);
  if (from.size() != size) cv::resize(from, from, size, 0, 0, cv::INTER_AREA);
  if (mirrored) {
    cv::Mat other_way;
    cv::flip(from, other_way, 1);
    from = other_way;
  }
  if (clockwise == 0) {
    from.copyTo(to);
  } else {
    cv::rotate(from, to,
               clockwise == 90    ? cv::ROTATE_90_CLOCKWISE
               : clockwise == 180 ? cv::ROTATE_180
                                  : cv::ROTATE_90_COUNTERCLOCKWISE);
  }
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

FileFrames::FileFrames(const obs_source_t *source, const FrameChanges &changes) : source_(source), changes_(changes) {
  const std::lock_guard<std::mutex> lock(mutex);
  all.push_back(this);
  SetFrameChange(Change);
}

FileFrames::~FileFrames() {
  const std::lock_guard<std::mutex> lock(mutex);
  std::erase(all, this);
}

bool FileFrames::Change(obs_source_t *source, const obs_source_frame &frame,
                        void (*pass)(obs_source_t *source, const obs_source_frame *frame)) {
  if (!OnMediaThread()) return false;  // frames of the program's own are right
  const std::lock_guard<std::mutex> lock(mutex);
  const auto found = std::find_if(all.begin(), all.end(), [source](const auto *it) { return it->source_ == source; });
  if (found == all.end()) return false;
  obs_source_frame changed = frame;
  (*found)->SetColors(changed);
  pass(source, &(*found)->Upright(changed));
  return true;
}

void FileFrames::SetColors(obs_source_frame &frame) const {
  if (!changes_.bt601 || !format_is_yuv(frame.format)) return;
  video_format_get_parameters_for_format(VIDEO_CS_601, frame.full_range ? VIDEO_RANGE_FULL : VIDEO_RANGE_PARTIAL,
                                         frame.format, frame.color_matrix, frame.color_range_min,
                                         frame.color_range_max);
}

const obs_source_frame &FileFrames::Upright(const obs_source_frame &frame) {
  if (changes_.turn == 0 && !changes_.mirrored) return frame;
  const std::vector<cv::Mat> planes = PlanesOf(frame);
  if (planes.empty()) return frame;
  const video_format format = UprightFormat(frame.format);
  uint32_t width = frame.width, height = frame.height;
  if (changes_.turn % 180 != 0) std::swap(width, height);
  if (!turned_ || turned_->format != format || turned_->width != width || turned_->height != height) {
    turned_.reset(obs_source_frame_create(format, width, height));
  }
  TakeColors(frame, *turned_);
  turned_->timestamp = frame.timestamp;
  // What lies upside down in memory is turned the other way.
  const int clockwise = frame.flip ? (360 - changes_.turn) % 360 : changes_.turn;
  const std::vector<cv::Mat> targets = PlanesOf(*turned_);
  for (size_t i = 0; i < targets.size(); ++i) TurnPlane(planes[i], targets[i], clockwise, changes_.mirrored);
  return *turned_;
}

}  // namespace vanta_run
