#include "fakes/runner/scripted_faces.h"

#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <utility>

#include "fakes/runner/scripted_runner.h"
#include "results/result_tree.h"
#include "shape/mean_shape.h"
#include "vanta_filter/landmark/tessera_api.h"

namespace lumivex_test {
namespace {

tessera::FoundFace FoundWith(std::vector<cv::Point2f> points) {
  tessera::FoundFace found;
  found.box = cv::boundingRect(points);
  found.points = std::move(points);
  return found;
}

cv::Mat MatOf(const std::vector<uint8_t> &plane, int width, int height) {
  return cv::Mat(height, width, CV_8UC1, const_cast<uint8_t *>(plane.data())).clone();
}

void KeepPicture(const vanta_test::RunnerPicture &picture) {
  FacesScript &script = Script();
  ++script.runs;
  if (script.throws) throw std::runtime_error("as the script says");
  const int half_width = (picture.width + 1) / 2, half_height = (picture.height + 1) / 2;
  script.luma = MatOf(picture.y, picture.width, picture.height);
  script.u = MatOf(picture.u, half_width, half_height);
  script.v = MatOf(picture.v, half_width, half_height);
}

bool Create(const std::string &model_folder) {
  Script().model_folder = model_folder;
  if (Script().refuses) return false;
  ++Script().created;
  return true;
}

int Init() {
  Script().init_thread = std::this_thread::get_id();
  if (Script().init_awaits.valid()) Script().init_awaits.wait();
  return Script().init_result;
}

void KeepParams(const tessera::Any &param) {
  Script().params.clear();
  const tessera::Any params = param.asMap().get("landmarks_param", tessera::Any());
  for (const auto &[name, value] : params.asMap().items) Script().params[name] = value.text;
}

std::shared_ptr<tessera::Any> Result() {
  std::vector<tessera::FoundFace> faces;
  for (const ScriptedFace &face : Script().faces) {
    tessera::FoundFace found = FoundWith(PointsOf(face));
    found.mouth_open = face.mouth_open;
    found.mouth_confidence = face.mouth_confidence;
    for (size_t side = 0; side < 2; ++side) {
      found.eyes_open[side] = face.eyes_open[side];
      found.eyes_confidence[side] = face.eyes_confidence[side];
    }
    faces.push_back(std::move(found));
  }
  for (const auto &points : Script().raw_faces) faces.push_back(FoundWith(points));
  auto result = std::make_shared<tessera::Any>(tessera::ResultTree(faces));
  if (Script().search_elapsed_ms > 0)
    tessera::AddSearchTime(*result, {Script().search_processor_ms, Script().search_elapsed_ms});
  return result;
}

}  // namespace

std::vector<cv::Point2f> PointsOf(const ScriptedFace &face) {
  const cv::Point2f right(std::cos(face.roll), std::sin(face.roll));
  const cv::Point2f down(-right.y, right.x);
  std::vector<cv::Point2f> points;
  for (const cv::Point2f &point : tessera::MeanShape())
    points.push_back(face.eyes + face.eye_distance * (point.x * right + point.y * down));
  return points;
}

FacesScript &Script() {
  static FacesScript script;
  return script;
}

WithScriptedRunner::WithScriptedRunner() {
  Script() = {};
  vanta_test::RunnerScript script;
  script.on_create = Create;
  script.on_init = Init;
  script.on_param = KeepParams;
  script.on_run = KeepPicture;
  script.on_result = [] { return Script().is_mute ? 1 : 0; };
  script.tree = Result;
  vanta_test::scripted_runner::SetScript(script);
  vanta_test::scripted_runner::SetRecording(false);
  vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, true);
}

}  // namespace lumivex_test
