// The tree of values in which the runner's results go out.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "vanta_filter/landmark/tessera_api.h"

namespace tessera {

struct FoundFace {
  std::vector<cv::Point2f> points;  // 101, in the published order
  cv::Rect2f box;                   // expanded, pixels
  float confidence = 1;             // that it is still followed, 0 to 1
  float mouth_open = 0;             // between the lips, as a part of the distance between the pupils
  float mouth_confidence = 0;       // of that, 0 to 1
  float eyes_open[2] = {1, 1};      // left, right: 0 is closed, 1 as open as usual
  float eyes_confidence[2] = {0, 0};
};

// What the search thread has taken since it began.
struct SearchTime {
  double processor_ms = 0;
  double elapsed_ms = 0;
};

// {"landmarks_out": {"faces": [{"pos": points in the runner's order, "range_expand": {left, top, width, height},
//   "confidence": ..., "mouth": {"open", "confidence"}, "left_eye": {the same}, "right_eye": {the same}}]}}
Any ResultTree(const std::vector<FoundFace> &faces);
// Adds {"search_thread": {"processor_ms", "elapsed_ms"}}.
void AddSearchTime(Any &root, const SearchTime &time);

}  // namespace tessera
