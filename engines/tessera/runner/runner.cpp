// The runner: from a picture to a tree of faces.
#include <util/base.h>

#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/cascade_folder.h"
#include "results/implementation_state.h"
#include "results/landmark_params.h"
#include "results/result_tree.h"
#include "runner/live_finder.h"
#include "search/face_finder.h"
#include "vision/cascade_files.h"

namespace tessera {
namespace {

// The planes of an I420 picture, when there is a whole luma plane. Without whole chroma planes it is a grey picture.
bool ViewOf(int width, int height, unsigned char *const planes[3], const int strides[3], PictureView &view) {
  if (width < 1 || height < 1 || !planes[0] || strides[0] < width) return false;
  view.y = cv::Mat(height, width, CV_8UC1, planes[0], static_cast<size_t>(strides[0]));
  const int half_width = (width + 1) / 2;
  const int half_height = (height + 1) / 2;
  if (!planes[1] || !planes[2] || strides[1] < half_width || strides[2] < half_width) return true;
  view.u = cv::Mat(half_height, half_width, CV_8UC1, planes[1], static_cast<size_t>(strides[1]));
  view.v = cv::Mat(half_height, half_width, CV_8UC1, planes[2], static_cast<size_t>(strides[2]));
  return true;
}

// Of a cascade that is not needed.
void LogLack(const char *name, const std::string &file, const std::string &fault, const char *effect) {
  if (file.empty()) blog(LOG_WARNING, "[tessera] no %s: %s", name, effect);
  if (!fault.empty())
    blog(LOG_WARNING, "[tessera] %s is no cascade that can be used (%s): %s; replace or remove it", file.c_str(),
         fault.c_str(), effect);
}

}  // namespace

struct TesseraRunner::State {
  TesseraConfig::State config;
  LandmarkParams params;
  FaceLook look;  // the thread's while `live` stands, else the caller's
  FaceFinder finder{look};
  std::unique_ptr<LiveFinder> live;  // made by the first picture that is not to be waited for
  bool ready = false;
  bool failure_logged = false;

  void SetParams(const LandmarkParams &wanted);
  std::vector<FoundFace> Find(const PictureView &picture);
};

void TesseraRunner::State::SetParams(const LandmarkParams &wanted) {
  const bool other_pictures = wanted.orientation != params.orientation;
  params = wanted;
  if (params.synchronous) live.reset();
  finder.SetMaxFaces(params.max_faces);
  if (live) live->SetMaxFaces(params.max_faces);
  if (!other_pictures) return;
  finder.StartAnew();
  if (live) live->StartAnew();
}

std::vector<FoundFace> TesseraRunner::State::Find(const PictureView &picture) {
  if (params.synchronous) return finder.Find(picture);
  if (!live) {
    finder.StartAnew();
    live = std::make_unique<LiveFinder>(look);
    live->SetMaxFaces(params.max_faces);
  }
  return live->Find(picture);
}

TesseraRunner::TesseraRunner() : state_(std::make_shared<State>()) {}
TesseraRunner::~TesseraRunner() = default;

std::shared_ptr<TesseraRunner> TesseraRunner::createTesseraRunner(std::shared_ptr<TesseraConfig> config) {
  if (!config) return nullptr;
  std::shared_ptr<TesseraRunner> runner(new TesseraRunner);
  runner->state_->config = *config->state_;
  return runner;
}

// The log level is ignored: there are few messages, each logged once.
void TesseraRunner::setLogLevel(int) {}

int TesseraRunner::init() {
  const TesseraConfig::State &config = state_->config;
  const auto find = [&config](const char *name) { return FindCascade(name, config.model_folder, config.model_files); };
  const auto own = [&config](const char *name) { return FindModelFile(name, config.model_folder, config.model_files); };
  const CascadeFiles files{find(kFaceCascade), find(kEyeCascade), find(kQuickCascade), own(kFaceNetworkFile),
                           own(kPointNetworkFile)};
  const std::string &faces = files.faces;
  state_->live.reset();
  state_->ready = false;
  if (faces.empty()) {
    blog(LOG_ERROR, "[tessera] no faces will be found: %s is neither in the model folder '%s' nor in %s; %s",
         kFaceCascade, config.model_folder.c_str(), CascadePackageFolder().c_str(), kCascadeRemedy);
    return 1;
  }
  const CascadeFaults faults = state_->look.Load(files);
  if (!faults.faces.empty()) {
    blog(LOG_ERROR, "[tessera] no faces will be found: %s is no cascade that can be used (%s); replace or remove it",
         faces.c_str(), faults.faces.c_str());
    return 2;
  }
  state_->ready = true;
  LogLack(kEyeCascade, files.eyes, faults.eyes, "the eyes are found less well");
  LogLack(kQuickCascade, files.quick, faults.quick, "faces are found less soon");
  blog(LOG_INFO, "[tessera] faces by %s", faces.c_str());
  return 0;
}

void TesseraRunner::setParam(std::shared_ptr<Any> param) {
  if (param) state_->SetParams(ReadLandmarkParams(*param));
}

int TesseraRunner::run(std::shared_ptr<TesseraFrame> frame, std::shared_ptr<TesseraOut> &out) {
  out = nullptr;
  if (!state_->ready || !frame || !frame->state_->image) return 1;
  const TesseraImage::State &image = *frame->state_->image->state_;
  PictureView view;
  if (image.format != kTesseraI420 || image.ten_bit != kTesseraEightBit ||
      !ViewOf(image.width, image.height, image.planes, image.strides, view)) {
    return 1;
  }
  try {
    auto result = std::make_shared<TesseraOut>();
    result->getAny() = std::make_shared<Any>(ResultTree(state_->Find(view)));
    if (state_->live) AddSearchTime(*result->getAny(), state_->live->Time());
    out = std::move(result);
    return 0;
  } catch (const std::exception &error) {
    if (!state_->failure_logged) blog(LOG_ERROR, "[tessera] a picture failed: %s", error.what());
    state_->failure_logged = true;
    return 1;
  }
}

}  // namespace tessera
