// The tree of values in which the runner's results go out.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "vanta_filter/landmark/tessera_api.h"

namespace tessera {

struct FoundFace {
  std::vector<cv::Point2f> points;  // 101, in the published order
  cv::Rect2f box;                   // expanded, pixels
};

// {"landmarks_out": {"faces": [{"pos": points in the runner's order, "range_expand": {left, top, width, height}}]}}
Any ResultTree(const std::vector<FoundFace> &faces);

}  // namespace tessera
