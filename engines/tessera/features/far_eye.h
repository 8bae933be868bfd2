// The far eye of a head that is turned aside.
#pragma once

#include <opencv2/core.hpp>
#include <optional>

namespace tessera {

// The eyes of a head are alike, and the one that is turned away from the camera is narrower: the place around which an
// upright patch looks most as around the nearer eye, mirrored, in a head that is turned aside by an angle of that
// tangent. `far` is where that eye is expected, or up to a quarter of a unit nearer; all are pixels. None where no
// place is like it, or none more so than `far` itself. Threads: any.
std::optional<cv::Point2f> FindFarEye(const cv::Mat &patch, cv::Point2f near, cv::Point2f far, float tangent);

}  // namespace tessera
