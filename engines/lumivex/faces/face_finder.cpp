#include "faces/face_finder.h"

#include <util/base.h>

#include <exception>
#include <utility>

#include "faces/face_tree.h"
#include "vanta_filter/landmark/tessera_api.h"

namespace lumivex {
namespace {

constexpr int kQuiet = 3;  // the runner's log level

// Null where it cannot start, as it says itself.
std::shared_ptr<tessera::TesseraRunner> StartedRunner(const std::string &model_folder) {
  auto config = std::make_shared<tessera::TesseraConfig>("tessera_landmarks");
  config->setModelFolderPath(model_folder);
  std::shared_ptr<tessera::TesseraRunner> runner = tessera::TesseraRunner::createTesseraRunner(std::move(config));
  if (!runner) return nullptr;
  runner->setLogLevel(kQuiet);
  return runner->init() == 0 ? runner : nullptr;
}

unsigned char *Bytes(const cv::Mat &plane) {
  return plane.data;
}

int Stride(const cv::Mat &plane) {
  return static_cast<int>(plane.step[0]);
}

}  // namespace

void FaceFinder::SetModelFolder(std::string folder) {
  if (folder == model_folder_) return;
  model_folder_ = std::move(folder);
  runner_.reset();
  runner_loading_.Cancel();
  refused_ = false;
}

void FaceFinder::SetParams(const std::map<std::string, std::string> &params) {
  for (const auto &[name, value] : params) params_[name] = value;
  if (runner_) HandParams();
}

bool FaceFinder::Find(const Nv12View &view, const Orientation &orientation, uint64_t timestamp, FaceNeed need) {
  if (need == FaceNeed::kNone) {
    faces_.clear();
    has_looked_ = false;
    runner_loading_.Cancel();
    return false;
  }
  if (!IsDue(timestamp, need)) return false;
  if (!MakeRunner()) {
    faces_.clear();  // those of a runner that is gone
    return false;
  }
  has_looked_ = true;
  looked_at_ = timestamp;
  faces_.clear();
  result_.reset();
  try {
    SetOrientation(orientation);
    picture_.Make(view, orientation);
    Run();
    failure_logged_ = false;
  } catch (const std::exception &error) {
    if (!failure_logged_) blog(LOG_ERROR, "[lumivex] no faces in a frame, the vision runner failed: %s", error.what());
    failure_logged_ = true;
    result_.reset();
    faces_.clear();
  }
  return true;
}

bool FaceFinder::IsDue(uint64_t timestamp, FaceNeed need) {
  if (need == FaceNeed::kPicture || !has_looked_ || timestamp <= looked_at_) return true;
  return timestamp - looked_at_ >= kReportInterval;
}

// Its models take longer to read than a frame may.
bool FaceFinder::MakeRunner() {
  if (runner_) return true;
  if (refused_) return false;
  if (!runner_loading_.Pending()) {
    runner_loading_.Start(loader_, [folder = model_folder_](const std::atomic<bool> &) {
      return RunnerRead{StartedRunner(folder), {}};
    });
  }
  std::optional<RunnerRead> read = runner_loading_.Take(awaits_models_);
  if (!read) return false;
  if (!read->reason.empty()) blog(LOG_ERROR, "[lumivex] no vision runner: %s", read->reason.c_str());
  runner_ = std::move(read->runner);
  refused_ = !runner_;
  if (runner_) HandParams();
  return runner_ != nullptr;
}

void FaceFinder::HandParams() {
  auto param = params_.begin();  // never empty
  tessera::Any map = tessera::Any::newMap(param->first, param->second);
  while (++param != params_.end()) map.addMapItem(param->first, param->second);
  runner_->setParam(std::make_shared<tessera::Any>("landmarks_param", map));
}

// What the runner follows in pictures that stand otherwise is no face any more.
void FaceFinder::SetOrientation(const Orientation &orientation) {
  if (orientation == orientation_) return;
  orientation_ = orientation;
  params_["orientation"] = std::to_string(orientation.quarter_turns) + (orientation.mirror ? " mirrored" : "");
  HandParams();
}

void FaceFinder::Run() {
  auto frame = std::make_shared<tessera::TesseraFrame>();
  const std::shared_ptr<tessera::TesseraImage> image = frame->getTesseraImage();
  const cv::Mat &y = picture_.Luma();
  const cv::Mat &u = picture_.U();
  const cv::Mat &v = picture_.V();
  image->setData(y.cols, y.rows, Bytes(y), Bytes(u), Bytes(v), tessera::kTesseraI420, Stride(y), Stride(u), Stride(v),
                 tessera::kTesseraEightBit);
  frame->setImageObj(image);
  frame->setTimeStamp(static_cast<double>(looked_at_));
  runner_->run(std::move(frame), result_);
  if (!result_ || !result_->getAny()) return;
  tessera::Any &root = *result_->getAny();
  search_time_ = ReadSearchTime(root);
  MoveTree(root, [this](float x, float y) { return picture_.ToFrame(x, y); });
  ReadFaces(root, faces_);
}

}  // namespace lumivex
