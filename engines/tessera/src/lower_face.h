// The lower face, cut out upright, as the cues in which mouth and nose show.
#pragma once

#include <opencv2/core.hpp>

#include "picture_view.h"

namespace tessera {

// Pictures of floats, a place in units of the face's placement each. Threads: any.
class LowerFace {
 public:
  LowerFace(const PictureView &picture, const Placement &placement);

  // Rows and columns of a place, and back.
  float Column(float x) const;
  float Row(float y) const;
  float X(float column) const;
  float Y(float row) const;
  cv::Size size() const { return lines.size(); }

  cv::Mat lines;   // how much darker than its wider surroundings, luma codes
  cv::Mat spots;   // the same for small dark places
  cv::Mat colour;  // how far from the skin's colour, chroma codes; empty where the picture has no colour
};

}  // namespace tessera
