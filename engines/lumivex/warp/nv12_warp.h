// Moves the pixels of an NV12 picture as a field says.
#pragma once

#include <opencv2/core.hpp>

#include "pixels/nv12_view.h"
#include "warp/warp_field.h"

namespace lumivex {

// In place, tile by tile, out of a copy of what moves. Pixels are blended between neighbours, to 1/32 of a pixel: by a
// cubic where a tile is enlarged, else straight. Those that do not move keep their codes.
// Owns: the copy, and the maps of one tile. Borrows: picture and field, for the call. Threads: one at a time.
class Nv12Warp {
 public:
  void Apply(const Nv12View &view, const WarpField &field);

 private:
  struct Plane {
    cv::Mat pixels;  // the frame's own
    cv::Mat &copy;   // of what moves
    int step;        // frame pixels from one pixel to the next
    float first_x;   // place of the first pixel's center in the frame
    float first_y;
  };

  static void Copy(Plane &plane, const WarpField &field);
  void MoveTile(Plane &plane, const WarpField &field, int tile_row, int tile_column);
  void FillMaps(const Plane &plane, const WarpField &field, const cv::Rect &tile);

  cv::Mat luma_copy_;
  cv::Mat chroma_copy_;
  cv::Mat places_;     // whole pixels, two 16-bit numbers each
  cv::Mat fractions_;  // 1/32 of a pixel, both in one 16-bit number
};

}  // namespace lumivex
