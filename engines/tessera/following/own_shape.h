// How a face differs from what is fitted to it, where a trained network has told its points.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "features/face_features.h"
#include "vision/picture_view.h"

namespace tessera {

// Between two looks of the network the points go along with the face and with what moves in it.
// Threads: one at a time.
class OwnShape {
 public:
  // `told`: 101 points in units of the face's frame, or none: then all stays as it is. `features`: what the fit knows
  // of the face in about the same picture. The first time they are taken at once, then in small steps.
  void Told(const std::vector<cv::Point2f> &told, const Features &features);
  // One picture later.
  void Step();
  // From the fitted points to those of this face. `place` is where they are fitted.
  void Apply(const Placement &place, std::vector<cv::Point2f> &points) const;

 private:
  std::vector<cv::Point2f> wanted_;  // units; empty: nothing was ever told
  std::vector<cv::Point2f> now_;
};

}  // namespace tessera
