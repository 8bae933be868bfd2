// Moves the pixels of an NV12 picture as a field says.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"
#include "warp/warp_field.h"

namespace lumivex {

// In place, tile by tile, out of a copy of what moves. Pixels are blended between neighbours, to 1/32 of a pixel: by a
// cubic where a tile is enlarged and `fine` is set, else straight. Those that do not move keep their codes.
// Owns: the copy, and the maps of a tile for each thread. Borrows: picture and field, for the call. Threads: one at a
// time.
class Nv12Warp {
 public:
  void Apply(const Nv12View &view, const WarpField &field, bool fine = true, const RowBands &bands = RowBands());

 private:
  // What one thread needs for a tile.
  struct Maps {
    cv::Mat places;     // whole pixels, two 16-bit numbers each
    cv::Mat fractions;  // 1/32 of a pixel, both in one 16-bit number
  };

  struct Plane {
    cv::Mat pixels;  // the frame's own
    cv::Mat &copy;   // of what moves
    int step;        // frame pixels from one pixel to the next
    float first_x;   // place of the first pixel's center in the frame
    float first_y;
  };

  static void Copy(Plane &plane, const WarpField &field, const RowBands &bands);
  static void MoveTile(Plane &plane, const WarpField &field, const cv::Point &at, bool fine, Maps &maps);
  static void FillMaps(const Plane &plane, const WarpField &field, const cv::Rect &tile, Maps &maps);

  cv::Mat luma_copy_;
  cv::Mat chroma_copy_;
  std::vector<Maps> maps_;  // by thread
};

}  // namespace lumivex
