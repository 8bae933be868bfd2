// The runner: from a picture to a tree of faces.
#include <util/base.h>

#include <algorithm>
#include <exception>
#include <opencv2/objdetect.hpp>
#include <utility>

#include "cascade_files.h"
#include "mean_shape.h"
#include "picture_view.h"
#include "result_tree.h"
#include "states.h"

namespace tessera {

struct TesseraRunner::State {
  TesseraConfig::State config;
  cv::CascadeClassifier faces;
};

TesseraRunner::TesseraRunner() : state_(std::make_shared<State>()) {}
TesseraRunner::~TesseraRunner() = default;

std::shared_ptr<TesseraRunner> TesseraRunner::createTesseraRunner(std::shared_ptr<TesseraConfig> config) {
  if (!config) return nullptr;
  std::shared_ptr<TesseraRunner> runner(new TesseraRunner);
  runner->state_->config = *config->state_;
  return runner;
}

void TesseraRunner::setLogLevel(int) {}

int TesseraRunner::init() {
  const std::string file = FindCascade(kFaceCascade, state_->config.model_folder, state_->config.model_files);
  try {
    if (!file.empty() && state_->faces.load(file)) return 0;
  } catch (const std::exception &error) {
    blog(LOG_ERROR, "[tessera] %s: %s", file.c_str(), error.what());
  }
  blog(LOG_ERROR, "[tessera] no faces will be found: no %s in the model folder '%s' nor in %s; install opencv-data",
       kFaceCascade, state_->config.model_folder.c_str(), kCascadePackageFolder);
  return 1;
}

void TesseraRunner::setParam(std::shared_ptr<Any>) {}

int TesseraRunner::run(std::shared_ptr<TesseraFrame> frame, std::shared_ptr<TesseraOut> &out) {
  out = nullptr;
  if (!frame || !frame->state_->image || state_->faces.empty()) return 1;
  const TesseraImage::State &image = *frame->state_->image->state_;
  if (image.width < 1 || image.height < 1 || !image.planes[0] || image.strides[0] < image.width) return 1;
  try {
    const cv::Mat luma(image.height, image.width, CV_8UC1, image.planes[0], image.strides[0]);
    std::vector<cv::Rect> boxes;
    state_->faces.detectMultiScale(luma, boxes, 1.2, 3, 0, cv::Size(48, 48));
    std::vector<FoundFace> faces;
    for (const cv::Rect &box : boxes) {
      FoundFace face;
      const cv::Point2f middle(box.x + box.width * 0.5F, box.y + box.height * 0.39F);
      for (const cv::Point2f &point : MeanShape()) face.points.push_back(middle + point * (box.width * 0.42F));
      face.box = box;
      faces.push_back(std::move(face));
    }
    out = std::make_shared<TesseraOut>();
    out->getAny() = std::make_shared<Any>(ResultTree(faces));
    return 0;
  } catch (const std::exception &error) {
    blog(LOG_ERROR, "[tessera] a picture failed: %s", error.what());
    return 1;
  }
}

}  // namespace tessera
