// A trained network that tells the points of a face, in a file that the user has put beside the models.
#pragma once

#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "vision/picture_view.h"

namespace tessera {

// Owns: the network. Threads: one at a time; on the calling thread alone.
class PointNetwork {
 public:
  // Throws where the file is no network of 68 or of 101 points; the reason is in what().
  explicit PointNetwork(const std::string &file);
  ~PointNetwork();
  PointNetwork(const PointNetwork &) = delete;
  PointNetwork &operator=(const PointNetwork &) = delete;

  // The 101 points in the published order, in units of the placement, which is that of the face. Empty where what the
  // network says is no face there.
  std::vector<cv::Point2f> Find(const PictureView &picture, const Placement &placement);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace tessera
