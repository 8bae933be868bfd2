// The 68 points that many public networks tell, as the 101 of the published order.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

namespace tessera {

inline constexpr size_t kSparsePoints = 68;

// `sparse`: contour from the left ear to the right one (17), brows from left to right (5 each), nose from the root to
// the tip (4) and along its base (5), eyes from the left corner over the upper lid to the right corner and back (6
// each), lips' outer edge likewise (12), their inner edge (8). "Left" is that of the picture. Points between those that
// are given lie on lines between them; those that have no neighbours go along with the nearest ones. Threads: any.
std::vector<cv::Point2f> DenseShape(const std::vector<cv::Point2f> &sparse);

}  // namespace tessera
