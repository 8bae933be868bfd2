#include "networks/face_network.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/dnn.hpp>
#include <opencv2/imgproc.hpp>
#include <opencv2/objdetect.hpp>
#include <stdexcept>

#include "networks/colour_picture.h"
#include "networks/network_cost.h"
#include "vision/serially.h"

namespace tessera {
namespace {

constexpr int kLongSide = 320;  // of the picture that it is given, pixels
constexpr int kStep = 32;       // both its sides are multiples of this; the rest is black
constexpr float kLeastScore = 0.8F;
constexpr float kOverlap = 0.3F;
constexpr int kMostFaces = 50;

// OpenCV reads so many anchors' values from each output, whatever the output holds.
size_t Anchors(cv::Size size) {
  constexpr std::array<size_t, 4> kOfAPlace = {3, 2, 2, 3};
  cv::Size map((size.width + 1) / 2 / 2, (size.height + 1) / 2 / 2);
  size_t anchors = 0;
  for (const size_t of_a_place : kOfAPlace) {
    map = {map.width / 2, map.height / 2};
    anchors += of_a_place * static_cast<size_t>(map.area());
  }
  return anchors;
}

bool Holds(const cv::Mat &output, size_t values) {
  return output.type() == CV_32F && output.total() == values && output.isContinuous();
}

}  // namespace

struct FaceNetwork::State {
  std::string file;
  cv::dnn::Net net;  // to look at the outputs; the detector has its own
  cv::Ptr<cv::FaceDetectorYN> detector;
  cv::Size size;  // that was tried

  void Try(cv::Size wanted);
};

void FaceNetwork::State::Try(cv::Size wanted) {
  if (wanted == size) return;
  RequireModestNetwork(net, wanted);
  std::vector<cv::Mat> outputs;
  net.setInput(cv::dnn::blobFromImage(cv::Mat(wanted, CV_8UC3, cv::Scalar::all(0))));
  net.forward(outputs, std::vector<cv::String>{"loc", "conf", "iou"});
  const size_t anchors = Anchors(wanted);
  if (outputs.size() != 3 || !Holds(outputs[0], anchors * 14) || !Holds(outputs[1], anchors * 2) ||
      !Holds(outputs[2], anchors)) {
    throw std::runtime_error("its outputs 'loc', 'conf' and 'iou' do not have 14, 2 and 1 values for each anchor");
  }
  if (detector) {
    detector->setInputSize(wanted);
  } else {
    detector = cv::FaceDetectorYN::create(file, "", wanted, kLeastScore, kOverlap, kMostFaces * 10);
  }
  size = wanted;
}

FaceNetwork::FaceNetwork(const std::string &file) : state_(std::make_unique<State>()) {
  state_->file = file;
  Serially([&] {
    state_->net = cv::dnn::readNetFromONNX(file);
    state_->net.setPreferableBackend(cv::dnn::DNN_BACKEND_OPENCV);
  });
}

FaceNetwork::~FaceNetwork() = default;

std::vector<Placement> FaceNetwork::Find(const PictureView &picture) {
  const float scale = static_cast<float>(kLongSide) / static_cast<float>(std::max(picture.y.cols, picture.y.rows));
  const auto small = [scale](int side) { return std::max(2, cvRound(static_cast<float>(side) * scale * 0.5F) * 2); };
  const cv::Size inside(small(picture.y.cols), small(picture.y.rows));
  const auto padded = [](int side) { return (side + kStep - 1) / kStep * kStep; };
  const cv::Size size(padded(inside.width), padded(inside.height));
  cv::Mat found;
  Serially([&] {
    const auto shrunk = [](const cv::Mat &plane, cv::Size to) {
      cv::Mat result;
      if (!plane.empty()) cv::resize(plane, result, to, 0, 0, cv::INTER_AREA);
      return result;
    };
    cv::Mat given(size, CV_8UC3, cv::Scalar::all(0));
    ColourPicture(shrunk(picture.y, inside), shrunk(picture.u, inside / 2), shrunk(picture.v, inside / 2))
        .copyTo(given(cv::Rect({0, 0}, inside)));
    state_->Try(size);
    state_->detector->detect(given, found);
  });

  // x, y, width, height of the box, then x, y of the person's right eye, left eye, nose, mouth corners, then the score.
  std::vector<Placement> faces;
  for (int i = 0; i < std::min(found.rows, kMostFaces); ++i) {
    const float *row = found.ptr<float>(i);
    const auto at = [&](int column) {
      return cv::Point2f(
                 (row[column] + 0.5F) * static_cast<float>(picture.y.cols) / static_cast<float>(inside.width),
                 (row[column + 1] + 0.5F) * static_cast<float>(picture.y.rows) / static_cast<float>(inside.height)) -
             cv::Point2f(0.5F, 0.5F);
    };
    const Placement face = PlacementOfEyes(at(4), at(6));
    const bool finite = std::isfinite(face.origin.x) && std::isfinite(face.origin.y) && std::isfinite(face.unit);
    const cv::Rect2f whole({0, 0}, cv::Size2f(picture.y.size()));
    if (finite && face.unit >= 4 && face.unit < whole.width && whole.contains(face.origin)) faces.push_back(face);
  }
  return faces;
}

}  // namespace tessera
