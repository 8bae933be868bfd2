#include "search/face_finder.h"

#include <algorithm>
#include <cmath>

#include "features/face_features.h"
#include "shape/shape_fit.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

// A whole search while there are faces: newcomers are seen within a second or two.
constexpr int kWholeSearchEvery = 20;

// The fewer eyes are seen in it, the more votes a box needs to be a face.
constexpr float kScoreWithoutEyes = 16;
constexpr float kScoreWithOneEye = 6;

// How much of a new place counts: a face that stands still is held, one that moves is followed at once. Distances are
// parts of that between the eyes.
constexpr float kStillPart = 0.3F;
constexpr float kStillMove = 0.015F;
constexpr float kFastMove = 0.10F;

bool Overlap(const Placement &a, const Placement &b) {
  const cv::Point2f apart = a.origin - b.origin;
  return std::hypot(apart.x, apart.y) < 1.2F * std::max(a.unit, b.unit);
}

cv::Rect2d ExpandedBox(const std::vector<cv::Point2f> &points, const Placement &placement, cv::Size size) {
  float left = points[0].x;
  float right = left;
  float top = points[0].y;
  float bottom = top;
  for (const cv::Point2f &point : points) {
    left = std::min(left, point.x);
    right = std::max(right, point.x);
    top = std::min(top, point.y);
    bottom = std::max(bottom, point.y);
  }
  const float margin = 0.25F * placement.unit;
  const float forehead = 0.6F * placement.unit;  // above the brows
  const cv::Rect2d box(left - margin, top - forehead, right - left + 2 * margin, bottom - top + forehead + margin);
  return box & cv::Rect2d(0, 0, size.width, size.height);
}

void Smooth(FaceTrack &track, const std::vector<cv::Point2f> &points) {
  if (track.points.size() != points.size()) {
    track.points = points;
    return;
  }
  float sum = 0;
  for (size_t i = 0; i < points.size(); ++i) {
    const cv::Point2f move = points[i] - track.points[i];
    sum += std::hypot(move.x, move.y);
  }
  const float moved = sum / static_cast<float>(points.size()) / track.placement.unit;
  const float part = Mixed(kStillPart, 1, Clamped01((moved - kStillMove) / (kFastMove - kStillMove)));
  for (size_t i = 0; i < points.size(); ++i) track.points[i] += (points[i] - track.points[i]) * part;
}

}  // namespace

void FaceMemory::SetMaxFaces(int faces) {
  max_faces = faces;
  if (tracks.size() > static_cast<size_t>(faces)) tracks.resize(static_cast<size_t>(faces));
  until_whole_search = 0;
}

bool FaceFinder::Load(const std::string &face_cascade, const std::string &eye_cascade) {
  return search_.Load(face_cascade) && (eye_cascade.empty() || eyes_.Load(eye_cascade));
}

bool FaceFinder::IsFace(const CoarseFace &face, const Eyes &eyes) const {
  if (eyes.seen == 2 || face.score >= kScoreWithoutEyes) return true;
  return (eyes.seen == 1 || !eyes_.CanSee()) && face.score >= kScoreWithOneEye;
}

void FaceFinder::FollowFaces(const PictureView &picture, FaceMemory &memory) {
  std::vector<FaceTrack> followed;
  for (FaceTrack &track : memory.tracks) {
    const auto face = search_.Near(picture.y, track.placement);
    if (!face) continue;
    const Eyes eyes = eyes_.Find(picture.y, face->placement);
    const bool known = std::any_of(followed.begin(), followed.end(), [&eyes](const FaceTrack &other) {
      return Overlap(other.placement, eyes.placement);
    });
    if (known) continue;
    track.placement = eyes.placement;
    Smooth(track, FitShape(eyes.placement, FindFeatures(picture, eyes.placement)));
    memory.last_angle = eyes.placement.angle;
    followed.push_back(std::move(track));
  }
  memory.tracks = std::move(followed);
}

void FaceFinder::LookForMore(const PictureView &picture, FaceMemory &memory) {
  for (const CoarseFace &face : search_.Whole(picture.y, memory.last_angle, memory.max_faces, memory.fruitless)) {
    if (memory.tracks.size() >= static_cast<size_t>(memory.max_faces)) break;
    const Eyes eyes = eyes_.Find(picture.y, face.placement);
    if (!IsFace(face, eyes)) continue;
    const bool known = std::any_of(memory.tracks.begin(), memory.tracks.end(), [&eyes](const FaceTrack &track) {
      return Overlap(track.placement, eyes.placement);
    });
    if (known) continue;
    FaceTrack track{eyes.placement, FitShape(eyes.placement, FindFeatures(picture, eyes.placement))};
    memory.last_angle = eyes.placement.angle;
    memory.tracks.push_back(std::move(track));
  }
}

std::vector<FoundFace> FaceFinder::Find(const PictureView &picture, FaceMemory &memory) {
  if (picture.y.size() != memory.size) {
    memory.tracks.clear();
    memory.size = picture.y.size();
  }
  FollowFaces(picture, memory);
  const bool room = memory.tracks.size() < static_cast<size_t>(memory.max_faces);
  if (memory.tracks.empty() || (room && --memory.until_whole_search <= 0)) {
    LookForMore(picture, memory);
    memory.until_whole_search = kWholeSearchEvery;
  }
  std::vector<FoundFace> faces;
  for (const FaceTrack &track : memory.tracks) {
    FoundFace face;
    face.points = track.points;
    face.box = ExpandedBox(track.points, track.placement, memory.size);
    faces.push_back(std::move(face));
  }
  return faces;
}

}  // namespace tessera
