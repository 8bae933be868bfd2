#include "faces/faces.h"

#include <tessera/point_layout.h>
#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

static_assert(kFacePointCount == tessera::kPointCount);

constexpr float kLeastEyeDistance = 2.0f;  // pixels: below that there is nothing to see
constexpr float kForeheadHeight = 0.75f;   // eye distances above the eyes: half way to the hairline

bool IsFinite(const FramePoint &point) {
  return std::isfinite(point.x) && std::isfinite(point.y);
}

FramePoint Between(const FramePoint &one, const FramePoint &other) {
  return {(one.x + other.x) / 2.0f, (one.y + other.y) / 2.0f};
}

FramePoint Mean(const FacePoints &points, tessera::PointRange range) {
  FramePoint sum;
  for (size_t i = range.first; i <= range.last; ++i) {
    sum.x += points[i].x;
    sum.y += points[i].y;
  }
  const auto count = static_cast<float>(range.last - range.first + 1);
  return {sum.x / count, sum.y / count};
}

void SetAxes(Face &face) {
  const FramePoint &left = face.At(FaceAnchor::kLeftEye);
  const FramePoint &right = face.At(FaceAnchor::kRightEye);
  const FramePoint &chin = face.At(FaceAnchor::kChin);
  face.right = {(right.x - left.x) / face.eye_distance, (right.y - left.y) / face.eye_distance};
  face.roll = std::atan2(face.right.y, face.right.x);
  const FramePoint eyes = Between(left, right);
  face.down = {-face.right.y, face.right.x};
  // On a mirrored picture the chin lies on the other side of the line through the eyes.
  if (face.down.x * (chin.x - eyes.x) + face.down.y * (chin.y - eyes.y) < 0.0f)
    face.down = {-face.down.x, -face.down.y};
}

void SetAnchors(Face &face) {
  const FacePoints &points = face.points;
  const auto set = [&](FaceAnchor anchor, const FramePoint &point) {
    face.anchors[static_cast<size_t>(anchor)] = point;
  };
  set(FaceAnchor::kLeftEye, Mean(points, tessera::kLeftEye));
  set(FaceAnchor::kRightEye, Mean(points, tessera::kRightEye));
  set(FaceAnchor::kNose, points[tessera::kNoseTip]);
  set(FaceAnchor::kMouth, Mean(points, tessera::kMouthOuter));
  set(FaceAnchor::kChin, points[tessera::kChin]);
  set(FaceAnchor::kFaceCenter, points[tessera::kNoseRidge]);
  set(FaceAnchor::kMouthLeft, points[tessera::kMouthLeftCorner]);
  set(FaceAnchor::kMouthRight, points[tessera::kMouthRightCorner]);
  set(FaceAnchor::kUpperLip, points[tessera::kUpperLipTop]);
  set(FaceAnchor::kLowerLip, points[tessera::kLowerLipBottom]);
  set(FaceAnchor::kUpperLipInner, points[tessera::kUpperLipMiddle]);
  set(FaceAnchor::kLowerLipInner, points[tessera::kLowerLipMiddle]);
  set(FaceAnchor::kLeftEyeOuter, points[tessera::kLeftEyeOuterCorner]);
  set(FaceAnchor::kLeftEyeInner, points[tessera::kLeftEyeInnerCorner]);
  set(FaceAnchor::kRightEyeInner, points[tessera::kRightEyeInnerCorner]);
  set(FaceAnchor::kRightEyeOuter, points[tessera::kRightEyeOuterCorner]);
  set(FaceAnchor::kLeftBrow, Mean(points, tessera::kLeftBrow));
  set(FaceAnchor::kRightBrow, Mean(points, tessera::kRightBrow));
}

// Those that no point marks.
void SetDerivedAnchors(Face &face) {
  const auto set = [&](FaceAnchor anchor, const FramePoint &point) {
    face.anchors[static_cast<size_t>(anchor)] = point;
  };
  // The apple of a cheek: half way between the nose's wing and the face's edge at the height of the mouth.
  constexpr size_t kLeftEdge = tessera::kContourLeft + 4;
  constexpr size_t kRightEdge = tessera::kContourRight - 4;
  set(FaceAnchor::kLeftCheek, Between(face.points[tessera::kNoseLeftWing], face.points[kLeftEdge]));
  set(FaceAnchor::kRightCheek, Between(face.points[tessera::kNoseRightWing], face.points[kRightEdge]));
  const FramePoint eyes = Between(face.At(FaceAnchor::kLeftEye), face.At(FaceAnchor::kRightEye));
  const float up = kForeheadHeight * face.eye_distance;
  set(FaceAnchor::kForehead, {eyes.x - up * face.down.x, eyes.y - up * face.down.y});
}

}  // namespace

std::optional<FaceAnchor> FindFaceAnchor(std::string_view name) {
  const auto found = std::find(kFaceAnchorNames.begin(), kFaceAnchorNames.end(), name);
  if (found == kFaceAnchorNames.end()) return std::nullopt;
  return static_cast<FaceAnchor>(found - kFaceAnchorNames.begin());
}

std::optional<Face> MakeFace(const FacePoints &points, const FaceBox &box) {
  if (!std::all_of(points.begin(), points.end(), IsFinite)) return std::nullopt;
  Face face;
  face.points = points;
  face.box = box;
  SetAnchors(face);
  const FramePoint &left = face.At(FaceAnchor::kLeftEye);
  const FramePoint &right = face.At(FaceAnchor::kRightEye);
  face.eye_distance = std::hypot(right.x - left.x, right.y - left.y);
  if (!(face.eye_distance >= kLeastEyeDistance) || !std::isfinite(face.eye_distance)) return std::nullopt;
  SetAxes(face);
  SetDerivedAnchors(face);
  return face;
}

PointBounds BoundsOf(const std::vector<FramePoint> &points) {
  PointBounds bounds{points[0].x, points[0].y, points[0].x, points[0].y};
  for (const FramePoint &point : points) {
    bounds.left = std::min(bounds.left, point.x);
    bounds.top = std::min(bounds.top, point.y);
    bounds.right = std::max(bounds.right, point.x);
    bounds.bottom = std::max(bounds.bottom, point.y);
  }
  return bounds;
}

}  // namespace lumivex
