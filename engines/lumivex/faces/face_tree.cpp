#include "faces/face_tree.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "vanta_base/point_order.h"
#include "vanta_filter/landmark/tessera_api.h"

namespace lumivex {
namespace {

using tessera::Any;
using PointList = std::vector<tessera::TesseraPoint>;

constexpr const char *kBoxKeys[] = {"left", "top", "width", "height"};

// The list itself, to be changed or read in place; empty for a tree without one.
std::vector<Any> *FaceList(Any &root) {
  if (root.tag != Any::kMap) return nullptr;
  const auto result = root.asMap().items.find("landmarks_out");
  if (result == root.asMap().items.end() || result->second.tag != Any::kMap) return nullptr;
  auto &items = result->second.asMap().items;
  const auto faces = items.find("faces");
  if (faces == items.end() || faces->second.tag != Any::kVector) return nullptr;
  return &faces->second.asVec();
}

Any Number(float value) {
  Any any;
  any.tag = Any::kFloat;
  any.number = static_cast<double>(value);
  return any;
}

// Null where the face has no list of points.
const PointList *PointsOf(Any &face) {
  if (face.tag != Any::kMap) return nullptr;
  const auto &items = face.asMap().items;
  const auto pos = items.find("pos");
  if (pos == items.end() || pos->second.tag != Any::kPointList) return nullptr;
  return static_cast<const PointList *>(pos->second.payload.get());
}

FaceBox BoxOf(const Any &face) {
  const Any nothing(0);
  const Any &box = face.asMap().get("range_expand", nothing);
  float sides[4];
  for (size_t i = 0; i < 4; ++i) sides[i] = box.asMap().get(kBoxKeys[i], nothing).toFloat32();
  return {sides[0], sides[1], sides[2], sides[3]};
}

float FiniteOr0(float value) {
  return std::isfinite(value) ? value : 0.0f;
}

Opening OpeningOf(const Any &face, const char *part) {
  const Any nothing(0);
  const Any &entry = face.asMap().get(part, nothing);
  return {FiniteOr0(entry.asMap().get("open", nothing).toFloat32()),
          FiniteOr0(entry.asMap().get("confidence", nothing).toFloat32())};
}

Expression ExpressionOf(const Any &face) {
  const Any nothing(0);
  return {FiniteOr0(face.asMap().get("confidence", nothing).toFloat32()), OpeningOf(face, "mouth"),
          OpeningOf(face, "left_eye"), OpeningOf(face, "right_eye")};
}

void MovePoints(Any &face, const ToFrame &to_frame) {
  const PointList *old = PointsOf(face);
  if (!old) return;
  auto moved = std::make_shared<PointList>(*old);
  for (tessera::TesseraPoint &point : *moved) {
    const FramePoint place = to_frame(point.x, point.y);
    point.x = place.x;
    point.y = place.y;
  }
  face.asMap().items["pos"].payload = std::move(moved);
}

void MoveBox(Any &face, const ToFrame &to_frame) {
  auto &items = face.asMap().items;
  const auto entry = items.find("range_expand");
  if (entry == items.end() || entry->second.tag != Any::kMap) return;
  const FaceBox box = BoxOf(std::as_const(face));
  const FramePoint one = to_frame(box.left, box.top);
  const FramePoint other = to_frame(box.left + box.width, box.top + box.height);
  const float left = std::min(one.x, other.x);
  const float top = std::min(one.y, other.y);
  const float sides[4] = {left, top, std::max(one.x, other.x) - left, std::max(one.y, other.y) - top};
  for (size_t i = 0; i < 4; ++i) entry->second.addMapItem(kBoxKeys[i], Number(sides[i]));
}

}  // namespace

void MoveTree(Any &root, const ToFrame &to_frame) {
  std::vector<Any> *faces = FaceList(root);
  if (!faces) return;
  for (Any &face : *faces) {
    if (face.tag != Any::kMap) continue;
    MovePoints(face, to_frame);
    MoveBox(face, to_frame);
  }
}

void ReadFaces(Any &root, Faces &faces) {
  std::vector<Any> *list = FaceList(root);
  if (!list) return;
  std::vector<vanta::PointXY> points;
  for (Any &entry : *list) {
    const PointList *raw = PointsOf(entry);
    if (!raw || raw->size() < kFacePointCount) continue;
    points.clear();
    for (size_t i = 0; i < kFacePointCount; ++i) points.push_back({(*raw)[i].x, (*raw)[i].y});
    vanta::ReorderPoints(points);
    FacePoints published;
    for (size_t i = 0; i < kFacePointCount; ++i) published[i] = {points[i].x, points[i].y};
    std::optional<Face> face = MakeFace(published, BoxOf(std::as_const(entry)));
    if (!face) continue;
    face->expression = ExpressionOf(std::as_const(entry));
    faces.push_back(*face);
  }
}

SearchTime ReadSearchTime(const Any &root) {
  const Any nothing(0);
  const Any &time = root.asMap().get("search_thread", nothing);
  return {static_cast<double>(time.asMap().get("processor_ms", nothing).toFloat32()),
          static_cast<double>(time.asMap().get("elapsed_ms", nothing).toFloat32())};
}

}  // namespace lumivex
