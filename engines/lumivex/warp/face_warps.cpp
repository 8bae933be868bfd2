#include "warp/face_warps.h"

#include <tessera/point_layout.h>
#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

// What full intensity does, as parts of a length.
constexpr float kSlim = 0.26f;   // of the face's half width, at the slope's steepest
constexpr float kEyes = 0.30f;   // larger
constexpr float kNose = 0.30f;   // narrower
constexpr float kChin = 0.16f;   // of the eye distance, longer or shorter
constexpr float kMouth = 0.26f;  // larger or smaller

// In the face's own axes, from a place on it; to the right and down, in eye distances.
struct Offset {
  float right;
  float down;
};

// 1 at the center, 0 with level slope at a distance of 1 and beyond.
float Fade(float distance_squared) {
  const float rest = std::max(1.0f - distance_squared, 0.0f);
  return rest * rest;
}

float Smoothstep(float from, float to, float value) {
  const float part = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return part * part * (3.0f - 2.0f * part);
}

// Adds displacements that are given in the face's axes around `center`, up to `reach` eye distances away from it.
template <typename Displacement>
void AddAround(const Face &face, const FramePoint &center, float reach, WarpField &field,
               const Displacement &displacement) {
  const float unit = face.eye_distance;
  field.Add(center, reach * unit, reach * unit, [&](const FramePoint &place) {
    const float x = (place.x - center.x) / unit;
    const float y = (place.y - center.y) / unit;
    const Offset moved = displacement(Offset{x * face.right.x + y * face.right.y, x * face.down.x + y * face.down.y});
    return FramePoint{unit * (moved.right * face.right.x + moved.down * face.down.x),
                      unit * (moved.right * face.right.y + moved.down * face.down.y)};
  });
}

// Larger by `wider` and `taller`, smaller where they are negative, within an ellipse.
void AddScale(const Face &face, const FramePoint &center, Offset radius, float wider, float taller, WarpField &field) {
  AddAround(face, center, std::max(radius.right, radius.down), field, [&](Offset at) {
    const float x = at.right / radius.right;
    const float y = at.down / radius.down;
    const float fade = Fade(x * x + y * y);
    return Offset{-at.right * wider * fade, -at.down * taller * fade};
  });
}

float Distance(const FramePoint &one, const FramePoint &other) {
  return std::hypot(one.x - other.x, one.y - other.y);
}

// Everything between the eyes and the neck is drawn to the face's middle line, most at its edge.
void AddSlimming(const Face &face, float amount, WarpField &field) {
  const float unit = face.eye_distance;
  const FramePoint eyes = face.Beside(FaceAnchor::kForehead, 0.0f, 0.75f);
  const float half_width = std::clamp(
      Distance(face.points[tessera::kContourLeft + 4], face.points[tessera::kContourRight - 4]) / unit / 2.0f, 0.6f,
      1.6f);
  const float chin = std::clamp(Distance(eyes, face.At(FaceAnchor::kChin)) / unit, 1.2f, 2.6f);
  const float reach = 2.0f * half_width;  // sideways
  AddAround(face, eyes, std::max(reach, chin + 1.0f), field, [&](Offset at) {
    const float part = at.right / reach;
    const float height = Smoothstep(0.1f, 0.75f * chin, at.down) * (1.0f - Smoothstep(chin, chin + 1.0f, at.down));
    return Offset{kSlim * amount * at.right * Fade(part * part) * height, 0.0f};
  });
}

void AddEyes(const Face &face, float amount, WarpField &field) {
  constexpr Offset kRadius{0.46f, 0.40f};
  for (const FaceAnchor eye : {FaceAnchor::kLeftEye, FaceAnchor::kRightEye})
    AddScale(face, face.At(eye), kRadius, kEyes * amount, kEyes * amount, field);
}

void AddNose(const Face &face, float amount, WarpField &field) {
  const FramePoint &tip = face.At(FaceAnchor::kNose);
  AddScale(face, tip, {0.62f, 0.75f}, -kNose * amount, 0.0f, field);
}

void AddChin(const Face &face, float amount, WarpField &field) {
  constexpr float kRadius = 0.95f;
  AddAround(face, face.At(FaceAnchor::kChin), kRadius, field, [&](Offset at) {
    return Offset{0.0f, -kChin * amount * Fade((at.right * at.right + at.down * at.down) / (kRadius * kRadius))};
  });
}

void AddMouth(const Face &face, float amount, WarpField &field) {
  const float half = Distance(face.At(FaceAnchor::kMouthLeft), face.At(FaceAnchor::kMouthRight)) / 2.0f;
  const float radius = std::clamp(1.5f * half / face.eye_distance, 0.4f, 1.1f);
  AddScale(face, face.At(FaceAnchor::kMouth), {radius, 0.75f * radius}, kMouth * amount, kMouth * amount, field);
}

}  // namespace

bool AnyDeform(const DeformValues &values) {
  return std::any_of(values.begin(), values.end(), [](float value) { return value != 0.0f; });
}

void AddFaceWarps(const Face &face, const DeformValues &values, WarpField &field) {
  using Add = void (*)(const Face &, float, WarpField &);
  constexpr Add kAdd[kDeformModeCount] = {AddSlimming, AddEyes, AddNose, AddChin, AddMouth};
  for (size_t mode = 0; mode < kDeformModeCount; ++mode) {
    if (values[mode] != 0.0f) kAdd[mode](face, values[mode], field);
  }
}

}  // namespace lumivex
