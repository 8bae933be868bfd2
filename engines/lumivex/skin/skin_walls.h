// Walls of skin's colours, where nobody's skin is known.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "skin/cell_colours.h"
#include "skin/skin_colour.h"

namespace lumivex {

// Of what has skin's colours, a wall is what reaches the picture's upper edges in one colour, and in the light that it
// has there.
// Owns: scratch maps of one frame size. Threads: one at a time.
class SkinWalls {
 public:
  // Takes it out of `weight`, CV_8U; unless next to nothing would be left, as where skin fills the picture. Only rows
  // of cells that `step` divides are looked at and changed; what the others hold afterwards says nothing.
  void LeaveOut(const CellColours &cells, int step, cv::Mat &weight);

 private:
  void TakeEdge(const CellColours &cells, int step, const cv::Mat &weight);
  void MeasureLight(const CellColours &cells, const SkinModel &wall, int step, const cv::Mat &weight);
  void FillGaps(float middle);

  std::vector<ShadeFreeColour> samples_;
  cv::Mat left_;  // the weights without what is a wall
  std::vector<cv::Vec2f> sums_;
  std::vector<float> light_;  // for each column the wall's luma; then one over it
};

}  // namespace lumivex
