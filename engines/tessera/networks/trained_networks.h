// The user's trained networks: read when they are first needed, left out when they are of no use.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "networks/face_network.h"
#include "networks/point_network.h"

namespace tessera {

inline constexpr const char *kFaceNetworkFile = "face_detector.onnx";
inline constexpr const char *kPointNetworkFile = "face_points.onnx";

// A file that cannot be used gets one line in the log, and from then on it is as if it were not there.
// Threads: one at a time. Reading takes long: never on a thread that frames wait for.
class TrainedNetworks {
 public:
  // Either may be empty: there is none. Nothing is read yet.
  void Use(const std::string &face_file, const std::string &point_file);

  // As FaceNetwork::Find. None: there is no such network.
  std::optional<std::vector<Placement>> Faces(const PictureView &picture);
  // As PointNetwork::Find. Empty, too, when there is no such network.
  std::vector<cv::Point2f> Points(const PictureView &picture, const Placement &placement);

 private:
  std::string face_file_;  // empty: none, or of no use
  std::string point_file_;
  std::unique_ptr<FaceNetwork> faces_;
  std::unique_ptr<PointNetwork> points_;
};

}  // namespace tessera
