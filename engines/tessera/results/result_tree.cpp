#include "results/result_tree.h"

#include <memory>

#include "vanta_base/point_order.h"

namespace tessera {
namespace {

Any Number(double value) {
  Any any;
  any.tag = Any::kFloat;
  any.number = value;
  return any;
}

Any Opening(float open, float confidence) {
  Any any = Any::newMap("open", Number(open));
  any.addMapItem("confidence", Number(confidence));
  return any;
}

// The table that turns the runner's order into the published one is its own inverse.
Any PointList(const std::vector<cv::Point2f> &published) {
  std::vector<vanta::PointXY> points;
  for (const cv::Point2f &point : published) points.push_back({point.x, point.y});
  vanta::ReorderPoints(points);
  auto list = std::make_shared<std::vector<TesseraPoint>>();
  for (const vanta::PointXY &point : points) list->push_back({point.x, point.y, {}});
  Any any;
  any.tag = Any::kPointList;
  any.payload = list;
  return any;
}

}  // namespace

Any ResultTree(const std::vector<FoundFace> &faces) {
  auto list = std::make_shared<std::vector<Any>>();
  for (const FoundFace &face : faces) {
    Any box = Any::newMap("left", Number(face.box.x));
    box.addMapItem("top", Number(face.box.y));
    box.addMapItem("width", Number(face.box.width));
    box.addMapItem("height", Number(face.box.height));
    Any entry = Any::newMap("pos", PointList(face.points));
    entry.addMapItem("range_expand", box);
    entry.addMapItem("confidence", Number(face.confidence));
    entry.addMapItem("mouth", Opening(face.mouth_open, face.mouth_confidence));
    entry.addMapItem("left_eye", Opening(face.eyes_open[0], face.eyes_confidence[0]));
    entry.addMapItem("right_eye", Opening(face.eyes_open[1], face.eyes_confidence[1]));
    list->push_back(entry);
  }
  Any vector;
  vector.tag = Any::kVector;
  vector.payload = list;
  return Any::newMap("landmarks_out", Any::newMap("faces", vector));
}

void AddSearchTime(Any &root, const SearchTime &time) {
  Any map = Any::newMap("processor_ms", Number(time.processor_ms));
  map.addMapItem("elapsed_ms", Number(time.elapsed_ms));
  root.addMapItem("search_thread", map);
}

}  // namespace tessera
