// Blends a picture with alpha into an NV12 frame.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "makeup/makeup_file.h"
#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// Of red, green, blue and alpha: all that is not clear. Empty where everything is.
cv::Rect SeenPart(const cv::Mat &rgba);

// Luma is blended pixel by pixel; chroma from the mean of the pixels that it stands for. What the picture leaves clear
// keeps its codes.
// Owns: scratch rows. Borrows: frame and picture, for the call. Threads: one at a time.
class RgbaBlender {
 public:
  // `part` lies in the frame, and begins on even pixels. `picture` has its size: red, green, blue, alpha, the colours
  // multiplied by alpha. `strength` 0 to 1.
  void Blend(const Nv12View &view, const YuvSpace &space, const cv::Rect &part, const cv::Mat &picture,
             MakeupBlend blend, float strength, const RowBands &bands = RowBands());

 private:
  // What one thread needs for its rows.
  struct Scratch {
    std::vector<float> from_chroma;  // what chroma adds to red, green, blue: three rows, one number for each pair
    std::vector<float> changed;      // what the pair's chroma changes by: two rows
  };

  std::vector<Scratch> scratch_;
};

}  // namespace lumivex
