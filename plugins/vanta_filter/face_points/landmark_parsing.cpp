#include "face_points/landmark_parsing.h"

#include <utility>
#include <vector>

#include "face_points/cast_helper.h"
#include "vanta_base/point_order.h"

namespace vanta {
namespace {

using tessera::Any;

std::vector<PointXY> ReadPoints(const Any &pos) {
  std::vector<PointXY> points;
  if (pos.tag != Any::kPointList || !pos.payload) return points;
  const auto &list = *static_cast<const std::vector<tessera::TesseraPoint> *>(pos.payload.get());
  points.reserve(list.size());
  for (const tessera::TesseraPoint &point : list) points.push_back({point.x, point.y});
  return points;
}

FaceRoi ReadBox(const Any &range_expand) {
  if (range_expand.tag != Any::kMap) return {};
  const Any::AnyMap &box = range_expand.asMap();
  const Any zero(0);
  return {box.get("left", zero).toFloat32(), box.get("top", zero).toFloat32(), box.get("width", zero).toFloat32(),
          box.get("height", zero).toFloat32()};
}

// `place` takes each point to where it is published.
template <typename Place>
FaceRecord ReadFace(const Any &face, Place place) {
  const Any nothing;
  std::vector<PointXY> points = ReadPoints(face.asMap().get("pos", nothing));
  ReorderPoints(points);
  FaceRecord record;
  record.points.resize(points.size());
  for (size_t i = 0; i < points.size(); ++i) {
    const PointXY placed = place(points[i]);
    record.points[i] = {static_cast<int32_t>(i), placed.x, placed.y};
  }
  return record;
}

template <typename Place>
void ReadFaces(const Any &root, FacePointResult &out, Place place) {
  const Any nothing;
  Any list = root.asMap().get("landmarks_out", nothing).asMap().get("faces", nothing);
  const std::vector<Any> &faces = list.asVec();
  out.face_count = static_cast<int32_t>(faces.size());
  out.faces.clear();
  out.rois.clear();
  for (const Any &face : faces) {
    out.rois.push_back(ReadBox(face.asMap().get("range_expand", nothing)));
    out.faces.push_back(ReadFace(face, place));
  }
}

}  // namespace

bool ParseLandmarkAny(const std::shared_ptr<Any> &root, FacePointResult &out) {
  if (!root || root->tag != Any::kMap) return false;
  ReadFaces(*root, out, [](PointXY point) { return point; });
  return true;
}

bool ParseLandmarkOut(const std::shared_ptr<Any> &object, FacePointResult &out, uint32_t width, uint32_t height,
                      int32_t rotation, uint64_t detect_key) {
  if (!object) return false;
  const std::shared_ptr<tessera::TesseraOut> result = CastHelper<tessera::TesseraOut>(*object);
  const std::shared_ptr<Any> root = result->getAny();
  if (!root) return false;
  ReadFaces(*root, out, [&](PointXY point) { return TurnPoint(point, width, height, rotation); });
  out.detect_key = detect_key;
  return true;
}

}  // namespace vanta
