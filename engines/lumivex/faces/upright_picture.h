// A frame as the vision runner wants it: upright, in three planes, not larger than it needs.
#pragma once

#include <array>
#include <opencv2/core.hpp>

#include "faces/faces.h"
#include "pixels/nv12_view.h"
#include "pixels/orientation.h"

namespace lumivex {

// Owns: the planes, but for the luma of a picture that is taken as it is. Borrows: the frame, from Make to the last
// use. Threads: one at a time.
class UprightPicture {
 public:
  static constexpr int kLongestSide = 640;  // pixels; longer sides are divided by a whole number

  void Make(const Nv12View &view, const Orientation &orientation);

  const cv::Mat &Luma() const { return y_; }
  const cv::Mat &U() const { return u_; }
  const cv::Mat &V() const { return v_; }

  // Of a place on this picture, in pixels from its upper left corner.
  FramePoint ToFrame(float x, float y) const;

 private:
  void ShrinkLuma(const cv::Size &size);
  void ShrinkChroma(const cv::Mat &uv, const cv::Size &size);
  void Turn(cv::Mat &plane, cv::Mat &mirrored, cv::Mat &turned) const;

  Orientation orientation_;
  float frame_width_ = 1.0f;
  float frame_height_ = 1.0f;
  cv::Mat y_, u_, v_;  // headers over the frame or over what stands below
  cv::Mat small_y_, smaller_y_, small_uv_;
  std::array<cv::Mat, 2> wide_, split_;  // U, V
  cv::Mat mirrored_y_, mirrored_u_, mirrored_v_;
  cv::Mat turned_y_, turned_u_, turned_v_;
};

}  // namespace lumivex
