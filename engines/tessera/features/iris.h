// Where a round dark thing stands in a small picture.
#pragma once

#include <opencv2/core.hpp>
#include <optional>

namespace tessera {

struct Iris {
  cv::Point2f place;
  float score = 0;  // of the best point; in one picture the higher the clearer
};

// The point, at most `reach` from `start` (pixels), on which the most edges from dark to bright look back, as those of
// an iris do (the means of gradients of Timm and Barth); dark points and points near `start` count more. None where
// the picture has no edges.
std::optional<Iris> FindIris(const cv::Mat &luma, cv::Point2f start, float reach, float iris_radius);

}  // namespace tessera
