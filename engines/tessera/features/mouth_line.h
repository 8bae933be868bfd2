// The dark line between the lips.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "features/face_cues.h"
#include "features/face_features.h"

namespace tessera {

struct MouthLine {
  cv::Mat cue;              // in which it is dark
  bool crease = false;      // no more than that
  float end = 0;            // part of its greatest darkness at which it ends
  float faint = 0;          // luma codes: what says nothing
  int first = 0;            // column of the first entry
  std::vector<int> rows;    // for each column
  std::vector<float> dark;  // there
};

struct Corner {
  cv::Point2f place;
  float strength = 0;  // of the line beside it, luma codes
};

// The smooth line through the darkest places at the height of a mouth. In a beard, and in dark skin, the line between
// the lips is dark beside the lips alone, so that finer cues are tried, too. Threads: any.
MouthLine FindMouthLine(const FaceCues &face, const Nose &nose);

// Where the line ends on one side (-1: the left one): outwards from its darkest place there, it fades. Threads: any.
Corner MouthLineEnd(const FaceCues &face, const MouthLine &line, int side);

}  // namespace tessera
