// For builds without OpenCV's dnn: the files that are there get their line in the log.
#include <stdexcept>

#include "networks/face_network.h"
#include "networks/point_network.h"

namespace tessera {
namespace {

constexpr const char *kReason = "this build has no trained networks (VANTA_TRAINED_NETWORKS is off)";

}  // namespace

struct FaceNetwork::State {};
struct PointNetwork::State {};

FaceNetwork::FaceNetwork(const std::string &) {
  throw std::runtime_error(kReason);
}
FaceNetwork::~FaceNetwork() = default;
std::vector<Placement> FaceNetwork::Find(const PictureView &) {
  return {};
}

PointNetwork::PointNetwork(const std::string &) {
  throw std::runtime_error(kReason);
}
PointNetwork::~PointNetwork() = default;
std::vector<cv::Point2f> PointNetwork::Find(const PictureView &, const Placement &) {
  return {};
}

}  // namespace tessera
