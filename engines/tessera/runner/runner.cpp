// The runner: from a picture to a tree of faces.
#include <util/base.h>

#include <exception>
#include <stdexcept>
#include <utility>

#include "results/implementation_state.h"
#include "results/landmark_params.h"
#include "results/result_tree.h"
#include "runner/background_finder.h"
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

}  // namespace

struct TesseraRunner::State {
  TesseraConfig::State config;
  std::string face_cascade;
  std::string eye_cascade;  // empty: there is none
  FaceFinder finder;
  FaceMemory memory;
  std::unique_ptr<BackgroundFinder> background;  // for a caller that is batch work, from its first picture on
  bool background_tried = false;
  bool ready = false;
  bool failure_logged = false;

  void MakeBackground();
  std::vector<FoundFace> Find(const PictureView &picture);
};

// Once: without it the caller searches itself.
void TesseraRunner::State::MakeBackground() {
  background_tried = true;
  try {
    const auto other = std::make_shared<FaceFinder>();  // cascades are for one thread
    if (!other->Load(face_cascade, eye_cascade)) throw std::runtime_error("the cascades cannot be read again");
    background = std::make_unique<BackgroundFinder>(
        [other](const PictureView &picture, FaceMemory &its_memory) { return other->Find(picture, its_memory); });
  } catch (const std::exception &error) {
    blog(LOG_WARNING, "[tessera] no search in idle time: %s", error.what());
  }
}

std::vector<FoundFace> TesseraRunner::State::Find(const PictureView &picture) {
  std::vector<FoundFace> faces;
  if (CallerIsBatchWork()) {
    if (!background_tried) MakeBackground();
    if (background && background->Find(picture, memory, faces)) return faces;
  }
  return finder.Find(picture, memory);
}

TesseraRunner::TesseraRunner() : state_(std::make_shared<State>()) {}
TesseraRunner::~TesseraRunner() = default;

std::shared_ptr<TesseraRunner> TesseraRunner::createTesseraRunner(std::shared_ptr<TesseraConfig> config) {
  if (!config) return nullptr;
  std::shared_ptr<TesseraRunner> runner(new TesseraRunner);
  runner->state_->config = *config->state_;
  return runner;
}

// What there is to log is said once: no level is too quiet for it.
void TesseraRunner::setLogLevel(int) {}

int TesseraRunner::init() {
  const TesseraConfig::State &config = state_->config;
  state_->face_cascade = FindCascade(kFaceCascade, config.model_folder, config.model_files);
  state_->eye_cascade = FindCascade(kEyeCascade, config.model_folder, config.model_files);
  const std::string &faces = state_->face_cascade;
  const std::string &eyes = state_->eye_cascade;
  state_->background.reset();
  state_->background_tried = false;
  state_->ready = false;
  if (faces.empty()) {
    blog(LOG_ERROR,
         "[tessera] no faces will be found: %s is neither in the model folder '%s' nor in %s; install opencv-data",
         kFaceCascade, config.model_folder.c_str(), CascadePackageFolder().c_str());
    return 1;
  }
  try {
    state_->ready = state_->finder.Load(faces, eyes);
  } catch (const std::exception &error) {
    blog(LOG_ERROR, "[tessera] %s", error.what());
  }
  if (!state_->ready) {
    blog(LOG_ERROR, "[tessera] no faces will be found: %s or %s is no cascade", faces.c_str(), eyes.c_str());
    return 2;
  }
  if (eyes.empty()) blog(LOG_WARNING, "[tessera] no %s: the eyes are found less well", kEyeCascade);
  blog(LOG_INFO, "[tessera] faces by %s", faces.c_str());
  return 0;
}

void TesseraRunner::setParam(std::shared_ptr<Any> param) {
  if (param) state_->memory.SetMaxFaces(ReadLandmarkParams(*param).max_faces);
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
    out = std::move(result);
    return 0;
  } catch (const std::exception &error) {
    if (!state_->failure_logged) blog(LOG_ERROR, "[tessera] a picture failed: %s", error.what());
    state_->failure_logged = true;
    return 1;
  }
}

}  // namespace tessera
