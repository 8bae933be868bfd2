#include "capture/frame_picture.h"

#include <media-io/video-scaler.h>

#include <algorithm>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "vanta_filter/module/host_extensions.h"

namespace vanta_run {
namespace {

constexpr int kGap = 8;  // pixels between the pictures

void DrawLabel(cv::Mat &strip, const std::string &text, double scale) {
  const int thickness = std::max(1, static_cast<int>(scale * 1.6));
  int below = 0;
  const cv::Size size = cv::getTextSize(text, cv::FONT_HERSHEY_SIMPLEX, scale, thickness, &below);
  const cv::Point start((strip.cols - size.width) / 2, (strip.rows + size.height) / 2);
  cv::putText(strip, text, start, cv::FONT_HERSHEY_SIMPLEX, scale, cv::Scalar(240, 240, 240), thickness, cv::LINE_AA);
}

}  // namespace

cv::Mat ToPicture(const obs_source_frame &frame) {
  const video_colorspace space = video_format_get_colorspace_from_matrix(
      frame.color_matrix, frame.color_range_min, frame.color_range_max, frame.format, frame.full_range);
  video_scale_info from{frame.format, frame.width, frame.height,
                        frame.full_range ? VIDEO_RANGE_FULL : VIDEO_RANGE_PARTIAL, space};
  video_scale_info to{VIDEO_FORMAT_BGRA, frame.width, frame.height, VIDEO_RANGE_FULL, VIDEO_CS_SRGB};
  video_scaler_t *scaler = nullptr;
  if (video_scaler_create(&scaler, &to, &from, VIDEO_SCALE_BICUBIC) != VIDEO_SCALER_SUCCESS) return {};
  cv::Mat bgra(static_cast<int>(frame.height), static_cast<int>(frame.width), CV_8UC4);
  uint8_t *planes[MAX_AV_PLANES] = {bgra.data};
  const uint32_t pitches[MAX_AV_PLANES] = {static_cast<uint32_t>(bgra.step)};
  video_scaler_scale(scaler, planes, pitches, frame.data, frame.linesize);
  video_scaler_destroy(scaler);
  if (frame.flip) cv::flip(bgra, bgra, 0);
  cv::Mat picture;
  cv::cvtColor(bgra, picture, cv::COLOR_BGRA2BGR);
  return picture;
}

cv::Mat SideBySide(const cv::Mat &left, const std::string &left_label, const cv::Mat &right,
                   const std::string &right_label) {
  const int height = std::max(left.rows, right.rows);
  const double scale = std::clamp(height / 600.0, 0.4, 2.0);
  const int strip = static_cast<int>(48 * scale);
  cv::Mat sheet(strip + height, left.cols + kGap + right.cols, CV_8UC3, cv::Scalar(24, 24, 24));
  cv::Mat left_strip = sheet(cv::Rect(0, 0, left.cols, strip));
  cv::Mat right_strip = sheet(cv::Rect(left.cols + kGap, 0, right.cols, strip));
  DrawLabel(left_strip, left_label, scale);
  DrawLabel(right_strip, right_label, scale);
  left.copyTo(sheet(cv::Rect(0, strip, left.cols, left.rows)));
  right.copyTo(sheet(cv::Rect(left.cols + kGap, strip, right.cols, right.rows)));
  return sheet;
}

void WritePng(PendingFile &file, const cv::Mat &picture) {
  std::vector<uint8_t> bytes;
  cv::imencode(".png", picture, bytes);
  file.Write(bytes.data(), bytes.size());
  file.Commit();
}

}  // namespace vanta_run
