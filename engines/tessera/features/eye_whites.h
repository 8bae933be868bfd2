// Eyes in dark skin, by their whites.
#pragma once

#include <opencv2/core.hpp>
#include <optional>

namespace tessera {

struct EyePair {
  cv::Point2f left;  // middle of an iris, pixels
  cv::Point2f right;
};

// In dark skin brows are what the cascades take for eyes; but nothing in it is as bright as the whites of the eyes to
// both sides of each iris. `patch` is an upright face of `density` pixels per unit whose eyes are expected at `left`
// and `right`, or up to a third of a unit beside. None where skin is not dark or no two such places are seen. Threads:
// any.
std::optional<EyePair> FindEyesByWhites(const cv::Mat &patch, cv::Point2f left, cv::Point2f right, float density);

// The height, in rows, of the middle of the whites beside an iris: in dark skin neither lids nor lashes stand out, and
// the iris's edges alone tell hardly how high it lies. None where skin is not dark or the whites are not seen. Threads:
// any.
std::optional<float> MiddleOfWhites(const cv::Mat &patch, cv::Point2f iris, float density);

}  // namespace tessera
