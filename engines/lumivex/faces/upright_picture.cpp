#include "faces/upright_picture.h"

#include <algorithm>
#include <opencv2/imgproc.hpp>

#include "pixels/two_thirds.h"

namespace lumivex {
namespace {

cv::RotateFlags RotationOf(int quarter_turns) {
  if (quarter_turns == 1) return cv::ROTATE_90_CLOCKWISE;
  return quarter_turns == 2 ? cv::ROTATE_180 : cv::ROTATE_90_COUNTERCLOCKWISE;
}

}  // namespace

void UprightPicture::Make(const Nv12View &view, const Orientation &orientation) {
  orientation_ = orientation;
  frame_width_ = static_cast<float>(view.width);
  frame_height_ = static_cast<float>(view.height);
  y_ = cv::Mat(view.height, view.width, CV_8UC1, view.y, static_cast<size_t>(view.y_stride));
  const cv::Mat uv(view.chroma_height, view.chroma_width, CV_8UC2, view.uv, static_cast<size_t>(view.uv_stride));
  const int divisor = (std::max(view.width, view.height) + kLongestSide - 1) / kLongestSide;
  if (divisor > 1) {
    const cv::Size size(std::max(view.width / divisor, 1), std::max(view.height / divisor, 1));
    ShrinkLuma(size);
    ShrinkChroma(uv, cv::Size((size.width + 1) / 2, (size.height + 1) / 2));
  } else {
    cv::split(uv, split_.data());
  }
  u_ = split_[0];
  v_ = split_[1];
  Turn(y_, mirrored_y_, turned_y_);
  Turn(u_, mirrored_u_, turned_u_);
  Turn(v_, mirrored_v_, turned_v_);
}

// Means of four pixels, then what lies between those: a mean over three by three takes five times as long.
void UprightPicture::ShrinkLuma(const cv::Size &size) {
  const cv::Size even(y_.cols / 2 * 2, y_.rows / 2 * 2);
  const cv::Size half = even / 2;
  if (half.width < size.width || half.height < size.height) {  // a picture of a line or two
    cv::resize(y_, small_y_, size, 0, 0, cv::INTER_AREA);
  } else {
    cv::resize(y_(cv::Rect({0, 0}, even)), small_y_, half, 0, 0, cv::INTER_AREA);
    if (half != size) {
      if (half * 2 == size * 3) {
        TwoThirds(small_y_, smaller_y_);
      } else {
        cv::resize(small_y_, smaller_y_, size, 0, 0, cv::INTER_LINEAR);
      }
      y_ = smaller_y_;
      return;
    }
  }
  y_ = small_y_;
}

// Colour has no details that are looked for: between the four pixels next to it is enough. OpenCV halves single planes
// several times as fast as pairs of them.
void UprightPicture::ShrinkChroma(const cv::Mat &uv, const cv::Size &size) {
  if (uv.size() == size * 2) {
    cv::split(uv, wide_.data());
    for (size_t i = 0; i < split_.size(); ++i) cv::resize(wide_[i], split_[i], size, 0, 0, cv::INTER_AREA);
    return;
  }
  if (uv.size() == size * 3) {  // nothing lies between: the middle one of nine
    cv::resize(uv(cv::Rect(1, 1, uv.cols - 1, uv.rows - 1)), small_uv_, cv::Size(), 1 / 3.0, 1 / 3.0,
               cv::INTER_NEAREST);
  } else {
    cv::resize(uv, small_uv_, size, 0, 0, cv::INTER_LINEAR);
  }
  cv::split(small_uv_, split_.data());
}

void UprightPicture::Turn(cv::Mat &plane, cv::Mat &mirrored, cv::Mat &turned) const {
  if (orientation_.mirror) {
    cv::flip(plane, mirrored, 1);
    plane = mirrored;
  }
  if (orientation_.quarter_turns == 0) return;
  cv::rotate(plane, turned, RotationOf(orientation_.quarter_turns));
  plane = turned;
}

FramePoint UprightPicture::ToFrame(float x, float y) const {
  const Place stored = FromUpright(orientation_, {x / static_cast<float>(y_.cols), y / static_cast<float>(y_.rows)});
  return {stored.x * frame_width_, stored.y * frame_height_};
}

}  // namespace lumivex
