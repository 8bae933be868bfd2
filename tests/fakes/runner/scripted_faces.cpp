#include "fakes/runner/scripted_faces.h"

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <stdexcept>
#include <utility>

#include "results/implementation_state.h"
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

cv::Mat CopyOf(unsigned char *plane, int width, int height, int stride) {
  return cv::Mat(height, width, CV_8UC1, plane, static_cast<size_t>(stride)).clone();
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

RunnerScript &Script() {
  static RunnerScript script;
  return script;
}

}  // namespace lumivex_test

namespace tessera {

using lumivex_test::Script;

struct TesseraRunner::State {};

TesseraRunner::TesseraRunner() = default;
TesseraRunner::~TesseraRunner() = default;

std::shared_ptr<TesseraRunner> TesseraRunner::createTesseraRunner(std::shared_ptr<TesseraConfig> config) {
  Script().model_folder = config->state_->model_folder;
  if (Script().refuses) return nullptr;
  ++Script().created;
  return std::shared_ptr<TesseraRunner>(new TesseraRunner);
}

void TesseraRunner::setLogLevel(int) {}

int TesseraRunner::init() {
  return Script().init_result;
}

void TesseraRunner::setParam(std::shared_ptr<Any> param) {
  Script().params.clear();
  const Any params = param->asMap().get("landmarks_param", Any());
  for (const auto &[name, value] : params.asMap().items) Script().params[name] = value.text;
}

int TesseraRunner::run(std::shared_ptr<TesseraFrame> frame, std::shared_ptr<TesseraOut> &out) {
  ++Script().runs;
  if (Script().throws) throw std::runtime_error("as the script says");
  const TesseraImage::State &image = *frame->state_->image->state_;
  Script().luma = lumivex_test::CopyOf(image.planes[0], image.width, image.height, image.strides[0]);
  const int half_width = (image.width + 1) / 2;
  const int half_height = (image.height + 1) / 2;
  Script().u = lumivex_test::CopyOf(image.planes[1], half_width, half_height, image.strides[1]);
  Script().v = lumivex_test::CopyOf(image.planes[2], half_width, half_height, image.strides[2]);
  if (Script().is_mute) return 1;
  std::vector<FoundFace> faces;
  for (const auto &face : Script().faces) faces.push_back(lumivex_test::FoundWith(lumivex_test::PointsOf(face)));
  for (const auto &points : Script().raw_faces) faces.push_back(lumivex_test::FoundWith(points));
  out = std::make_shared<TesseraOut>();
  out->getAny() = std::make_shared<Any>(ResultTree(faces));
  if (Script().search_elapsed_ms > 0) {
    AddSearchTime(*out->getAny(), {Script().search_processor_ms, Script().search_elapsed_ms});
  }
  return 0;
}

}  // namespace tessera
