// The similarity that carries points onto others, some of which may be wrong.
#pragma once

#include <opencv2/core.hpp>
#include <optional>
#include <vector>

#include "vision/picture_view.h"

namespace tessera {

// By least squares with Tukey's weights: points far from where most go count less, or nothing. The result is the place
// of the frame of `from` in that of `to`, in its units. None where fewer than `fewest` points agree.
std::optional<Placement> FitSimilarity(const std::vector<cv::Point2f> &from, const std::vector<cv::Point2f> &to,
                                       size_t fewest);

}  // namespace tessera
