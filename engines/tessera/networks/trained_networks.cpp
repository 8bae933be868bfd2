#include "networks/trained_networks.h"

#include <util/base.h>

#include <algorithm>
#include <exception>

namespace tessera {
namespace {

// OpenCV's reasons have several lines.
std::string OneLine(std::string text) {
  std::replace(text.begin(), text.end(), '\n', ' ');
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

// Reads the network when it is first asked for, and calls `ask` with it. When either fails it is asked no more.
template <typename Network, typename Ask>
void With(std::unique_ptr<Network> &network, std::string &file, const char *what, Ask ask) {
  if (file.empty()) return;
  try {
    if (!network) {
      network = std::make_unique<Network>(file);
      blog(LOG_INFO, "[tessera] %s by %s", what, file.c_str());
    }
    ask(*network);
  } catch (const std::exception &error) {
    blog(LOG_WARNING,
         "[tessera] %s is not used: %s; remove it, or put one there of the format in tessera's README; %s are found "
         "without it",
         file.c_str(), OneLine(error.what()).c_str(), what);
    network.reset();
    file.clear();
  }
}

}  // namespace

void TrainedNetworks::Use(const std::string &face_file, const std::string &point_file) {
  faces_.reset();
  points_.reset();
  face_file_ = face_file;
  point_file_ = point_file;
}

std::optional<std::vector<Placement>> TrainedNetworks::Faces(const PictureView &picture) {
  std::optional<std::vector<Placement>> found;
  With(faces_, face_file_, "faces", [&](FaceNetwork &network) { found = network.Find(picture); });
  return found;
}

std::vector<cv::Point2f> TrainedNetworks::Points(const PictureView &picture, const Placement &placement) {
  std::vector<cv::Point2f> found;
  With(points_, point_file_, "points", [&](PointNetwork &network) { found = network.Find(picture, placement); });
  return found;
}

}  // namespace tessera
