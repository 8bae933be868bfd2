#include "support/face_reader.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "landmark/point_order.h"
#include "tessera/point_layout.h"

namespace vanta_test {

using tessera::Any;

FaceReader::FaceReader(int max_faces, const std::string &model_folder) {
  auto config = std::make_shared<tessera::TesseraConfig>("tessera_landmarks");
  config->setUseMode("qnet_v3");
  config->setModelFolderPath(model_folder);
  config->setModelFilePaths({model_folder + "/landmarks_cfg.txt"});
  config->setConfigParam(Any::newMap("qnet_v3_param", Any("{\"thread_num\": 1}")));
  runner_ = tessera::TesseraRunner::createTesseraRunner(config);
  runner_->setLogLevel(3);
  init_result_ = runner_->init();
  Any params = Any::newMap("detect_model", Any("superfast"));
  params.addMapItem("max_face_num", Any(std::to_string(max_faces)));
  runner_->setParam(std::make_shared<Any>("landmarks_param", params));
}

std::shared_ptr<Any> FaceReader::RunTree(std::shared_ptr<tessera::TesseraImage> image) {
  auto frame = std::make_shared<tessera::TesseraFrame>();
  frame->setImageObj(std::move(image));
  std::shared_ptr<tessera::TesseraOut> out;
  runner_->run(frame, out);
  return out ? out->getAny() : nullptr;
}

std::shared_ptr<Any> FaceReader::RunTree(PortraitPicture &picture) {
  const int width = picture.bgr.cols;
  auto image = std::make_shared<tessera::TesseraImage>();
  image->setData(width, picture.bgr.rows, picture.Plane(0), picture.Plane(1), picture.Plane(2), tessera::kTesseraI420,
                 width, width / 2, width / 2, tessera::kTesseraEightBit);
  return RunTree(image);
}

std::vector<ReadFace> FaceReader::Run(PortraitPicture &picture) {
  std::vector<ReadFace> faces;
  const std::shared_ptr<Any> tree = RunTree(picture);
  if (!tree) return faces;
  Any out = tree->asMap().get("landmarks_out", Any());
  Any list = out.asMap().get("faces", Any());
  for (Any &entry : list.asVec()) {
    ReadFace face;
    const Any pos = entry.asMap().get("pos", Any());
    std::vector<vanta::PointXY> points;
    for (const auto &point : *static_cast<const std::vector<tessera::TesseraPoint> *>(pos.payload.get())) {
      points.push_back({point.x, point.y});
    }
    vanta::ReorderPoints(points);
    for (const vanta::PointXY &point : points) face.points.emplace_back(point.x, point.y);
    const Any box = entry.asMap().get("range_expand", Any());
    const auto number = [&box](const char *key) { return box.asMap().get(key, Any(0)).toFloat32(); };
    face.box = {number("left"), number("top"), number("width"), number("height")};
    faces.push_back(face);
  }
  return faces;
}

std::array<float, kMarks> MarkErrors(const ReadFace &face, const PortraitPicture &picture) {
  std::array<float, kMarks> errors{};
  for (size_t i = 0; i < kMarks; ++i) {
    const cv::Point2f off = face.points[PortraitMarks()[i].point] - picture.marks[i];
    errors[i] = std::hypot(off.x, off.y) / picture.eye_distance;
  }
  return errors;
}

std::array<float, kJawMarks> JawErrors(const ReadFace &face, const PortraitPicture &picture) {
  std::array<float, kJawMarks> errors{};
  for (size_t i = 0; i < kJawMarks; ++i) {
    float nearest = std::numeric_limits<float>::max();
    for (size_t point = tessera::kContour.first; point < tessera::kContour.last; ++point) {
      const cv::Point2f start = face.points[point];
      const cv::Point2f along = face.points[point + 1] - start;
      const cv::Point2f to_mark = picture.jaw[i] - start;
      const cv::Point2f off = to_mark - along * std::clamp(to_mark.dot(along) / along.dot(along), 0.0F, 1.0F);
      nearest = std::min(nearest, std::hypot(off.x, off.y));
    }
    errors[i] = nearest / picture.eye_distance;
  }
  return errors;
}

}  // namespace vanta_test
