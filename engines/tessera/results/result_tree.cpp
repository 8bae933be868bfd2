#include "results/result_tree.h"

#include <memory>

#include "vanta_base/point_order.h"

namespace tessera {
namespace {

Any Number(float value) {
  Any any;
  any.tag = Any::kFloat;
  any.number = value;
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
    list->push_back(entry);
  }
  Any vector;
  vector.tag = Any::kVector;
  vector.payload = list;
  return Any::newMap("landmarks_out", Any::newMap("faces", vector));
}

}  // namespace tessera
