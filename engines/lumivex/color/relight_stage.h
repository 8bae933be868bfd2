// Adds a soft key light from the upper left of the upright picture, on the faces where there are some.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "faces/faces.h"
#include "pixels/cell_grid.h"
#include "pixels/nv12_view.h"
#include "pixels/orientation.h"
#include "pixels/row_bands.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// With faces in view the light shapes them. Without, it falls off as a Gaussian of each upright axis, so quarter turns
// and mirroring only change which of the two a stored row or column belongs to. One fades into the other when faces
// come and go. Owns: the fall-off of the last call's frame size, the light on the last faces. Borrows: the frame, for
// the call. Threads: one at a time.
class RelightStage {
 public:
  // `strength` from 0 to 1.
  void Apply(const Nv12View &view, const YuvSpace &space, const Orientation &orientation, const Faces &faces,
             float strength, const RowBands &bands = RowBands());

 private:
  // What a thread needs for its rows.
  struct Scratch {
    std::vector<uint8_t> out;
    std::vector<int16_t> face_light;
    CellMap::Blended blended;
  };

  void FollowFaces(const Orientation &orientation, const Faces &faces, const RowBands &bands);
  // `scale` makes 1/32nds of a level of light and curve.
  void LightRow(const Nv12View &view, const YuvSpace &space, int row, float scale, Scratch &scratch) const;
  void Prepare(int width, int height, const Orientation &orientation);

  int width_ = 0;
  int height_ = 0;
  Orientation orientation_;
  std::vector<int16_t> columns_;  // light on each column, in 1/32768ths
  std::vector<float> rows_;       // light on each row, 0 to 1
  std::vector<Scratch> scratch_;  // one for each thread

  bool has_run_ = false;         // on this size and orientation
  float share_of_faces_ = 0.0f;  // of the light that the faces shape, 0 to 1
  cv::Mat face_light_;           // per cell, CV_32F
  CellMap face_map_;             // the same in 1/32768ths
};

}  // namespace lumivex
