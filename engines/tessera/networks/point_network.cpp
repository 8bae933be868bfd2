#include "networks/point_network.h"

#include <cmath>
#include <opencv2/dnn.hpp>
#include <stdexcept>

#include "networks/colour_picture.h"
#include "networks/network_cost.h"
#include "shape/sparse_shape.h"
#include "tessera/point_layout.h"
#include "vision/serially.h"

namespace tessera {
namespace {

constexpr int kSide = 112;  // pixels
// What it is shown of a face, upright, in units.
const cv::Rect2f kShown(-1.6F, -1.15F, 3.2F, 3.2F);
constexpr float kDensity = kSide / 3.2F;
// A point farther from the eyes' middle than this belongs to no face there.
constexpr float kFarthest = 3;

cv::Mat Run(cv::dnn::Net &net, const cv::Mat &colour) {
  net.setInput(cv::dnn::blobFromImage(colour, 1.0 / 255, {}, {}, true));
  return net.forward();
}

}  // namespace

struct PointNetwork::State {
  cv::dnn::Net net;
  size_t values = 0;  // that it gives
};

PointNetwork::PointNetwork(const std::string &file) : state_(std::make_unique<State>()) {
  Serially([&] {
    state_->net = cv::dnn::readNetFromONNX(file);
    state_->net.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
    RequireModestNetwork(state_->net, {kSide, kSide});
    const cv::Mat output = Run(state_->net, cv::Mat(kSide, kSide, CV_8UC3, cv::Scalar::all(0)));
    state_->values = output.type() == CV_32F && output.isContinuous() ? output.total() : 0;
  });
  if (state_->values != 2 * kSparsePoints && state_->values != 2 * kPointCount) {
    throw std::runtime_error("its output has " + std::to_string(state_->values) +
                             " values, not x and y of 68 or of 101 points");
  }
}

PointNetwork::~PointNetwork() = default;

std::vector<cv::Point2f> PointNetwork::Find(const PictureView &picture, const Placement &placement) {
  cv::Mat output;
  Serially([&] {
    const auto half = [&](const cv::Mat &plane) {
      return plane.empty() ? cv::Mat() : CutUpright(plane, placement, kShown, kDensity / 2, true);
    };
    output = Run(state_->net,
                 ColourPicture(CutUpright(picture.y, placement, kShown, kDensity), half(picture.u), half(picture.v)));
  });
  if (output.total() != state_->values) throw std::runtime_error("its output changes its size");
  std::vector<cv::Point2f> points;
  for (size_t i = 0; i < state_->values; i += 2) {
    const float *value = output.ptr<float>() + i;
    const cv::Point2f point = kShown.tl() + cv::Point2f(value[0], value[1]) * kShown.width;
    if (!(std::hypot(point.x, point.y) < kFarthest)) return {};  // nor for what is no number
    points.push_back(point);
  }
  return points.size() == kPointCount ? points : DenseShape(points);
}

}  // namespace tessera
