#include "landmark/landmark_runner.h"

#include <util/base.h>

#include <array>
#include <string>
#include <utility>

#include "face_points/face_point_signal.h"
#include "face_points/landmark_parsing.h"
#include "obs/engine_paths.h"

namespace vanta {
namespace {

using tessera::Any;

constexpr int kLogLevel = 3;

// The numbers are texts: that is how the runner reads them.
constexpr std::array<std::pair<const char *, const char *>, 10> kParams = {{
    {"detect_model", "superfast"},
    {"use_mask", "0"},
    {"detect_tongue", "0"},
    {"detect_eyeball", "0"},
    {"detect_tooth", "0"},
    {"use_sub_eye", "0"},
    {"use_sub_mouth", "0"},
    {"use_correct_mode", "0"},
    {"sync_detect", "1"},
    {"max_face_num", "1"},
}};

std::shared_ptr<tessera::TesseraConfig> MakeConfig(const std::string &model_folder) {
  auto config = std::make_shared<tessera::TesseraConfig>("tessera_landmarks");
  config->setUseMode("qnet_v3");
  config->setModelFolderPath(model_folder + "/magic_qnet_model_landmark");
  config->setModelFilePaths({model_folder + "/magic_qnet_model_landmark/landmarks_cfg.txt"});
  config->setConfigParam(Any::newMap("qnet_v3_param", Any("{\"thread_num\": 1}")));
  return config;
}

std::shared_ptr<Any> MakeParam() {
  const auto &[first_key, first_value] = kParams.front();
  Any map = Any::newMap(first_key, Any(first_value));
  for (size_t i = 1; i < kParams.size(); ++i) map.addMapItem(kParams[i].first, Any(kParams[i].second));
  return std::make_shared<Any>("landmarks_param", map);
}

std::shared_ptr<tessera::TesseraFrame> MakeFrame(const obs_source_frame &source) {
  auto frame = std::make_shared<tessera::TesseraFrame>();
  const std::shared_ptr<tessera::TesseraImage> image = frame->getTesseraImage();
  image->setData(static_cast<int>(source.width), static_cast<int>(source.height), source.data[0], source.data[1],
                 source.data[2], tessera::kTesseraI420, static_cast<int>(source.linesize[0]),
                 static_cast<int>(source.linesize[1]), static_cast<int>(source.linesize[2]), tessera::kTesseraEightBit);
  frame->setImageObj(image);
  frame->setTimeStamp(static_cast<double>(source.timestamp));
  return frame;
}

}  // namespace

void LandmarkRunner::InitRunner() {
  const std::string model_folder = AiPath();
  if (model_folder.empty()) {
    blog(LOG_ERROR, "can not find model dir");
    return;
  }
  if (runner_) return;
  runner_ = tessera::TesseraRunner::createTesseraRunner(MakeConfig(model_folder));
  if (!runner_) {
    blog(LOG_ERROR, "create landmark runner failed");
    return;
  }
  runner_->setLogLevel(kLogLevel);
  const int result = runner_->init();
  if (result == 0)
    blog(LOG_INFO, "init landmark runner success, set video edit mode");
  else
    blog(LOG_ERROR, "init landmark runner failed with %d", result);
  runner_->setParam(MakeParam());
}

void LandmarkRunner::RunFrame(const obs_source_frame &frame) {
  const std::shared_ptr<tessera::TesseraFrame> picture = MakeFrame(frame);
  if (!runner_ || frame.width == 0) return;
  std::shared_ptr<tessera::TesseraOut> out;
  runner_->run(picture, out);
  if (!out) return;
  FacePointResult faces;
  ParseLandmarkAny(out->getAny(), faces);
  PublishFacePoints(faces, frame.width, frame.height);
}

void LandmarkRunner::Reset() {
  if (!runner_) return;
  blog(LOG_INFO, "tessera landmark reset");
  runner_.reset();
}

}  // namespace vanta
