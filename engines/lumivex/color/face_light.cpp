#include "color/face_light.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

// Towards the light, on the upright picture: to the left, up, and to the viewer.
constexpr float kToLeft = 0.55f;
constexpr float kUp = 0.50f;
constexpr float kToViewer = 0.67f;
constexpr float kTop = 1.0f;          // distances between the eyes from the eyes up to the ellipsoid's end
constexpr float kMostTurn = 0.7f;     // radians to a side
constexpr float kNoseLength = 0.45f;  // distances between the eyes that the nose's tip stands out
constexpr float kWhole = 0.85f;       // radii within which the mask is whole,
constexpr float kNothing = 1.7f;      // and where it ends

float Step(float from, float to, float value) {
  const float part = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return part * part * (3.0f - 2.0f * part);
}

// A direction of the upright picture on the stored one.
FramePoint Stored(const Orientation &orientation, float x, float y) {
  const Place from = FromUpright(orientation, {0.5f, 0.5f});
  const Place to = FromUpright(orientation, {0.5f + x, 0.5f + y});
  return {to.x - from.x, to.y - from.y};
}

// In the face's own axes: pixels to its right and down.
struct Ellipsoid {
  FramePoint middle;
  float half_width = 1.0f;
  float half_height = 1.0f;
  float turn = 0.0f;  // radians, positive to its right
};

Ellipsoid FitTo(const Face &face) {
  const FramePoint eyes{(face.At(FaceAnchor::kLeftEye).x + face.At(FaceAnchor::kRightEye).x) / 2.0f,
                        (face.At(FaceAnchor::kLeftEye).y + face.At(FaceAnchor::kRightEye).y) / 2.0f};
  const auto across = [&](const FramePoint &point) {
    return (point.x - eyes.x) * face.right.x + (point.y - eyes.y) * face.right.y;
  };
  const auto along = [&](const FramePoint &point) {
    return (point.x - eyes.x) * face.down.x + (point.y - eyes.y) * face.down.y;
  };
  // The widest of the jaw, from ear to ear.
  constexpr size_t kContourPoints = 19;
  float left = 0.0f;
  float right = 0.0f;
  for (size_t i = 0; i < kContourPoints; ++i) {
    left = std::min(left, across(face.points[i]));
    right = std::max(right, across(face.points[i]));
  }
  const float chin = std::max(along(face.At(FaceAnchor::kChin)), 0.5f * face.eye_distance);
  const float top = -kTop * face.eye_distance;
  Ellipsoid result;
  const float x = (left + right) / 2.0f;
  const float y = (top + chin) / 2.0f;
  result.middle = {eyes.x + x * face.right.x + y * face.down.x, eyes.y + x * face.right.y + y * face.down.y};
  result.half_width = std::max((right - left) / 2.0f, 0.5f * face.eye_distance);
  result.half_height = (chin - top) / 2.0f;
  const float nose = across(face.At(FaceAnchor::kNose)) / (kNoseLength * face.eye_distance);
  result.turn = std::asin(std::clamp(nose, -1.0f, 1.0f) * std::sin(kMostTurn));
  return result;
}

// On the rows first <= row < end.
void LightFace(const Face &face, const Orientation &orientation, int cell, int first, int end, cv::Mat &light) {
  const Ellipsoid body = FitTo(face);
  // The light in the face's axes.
  const FramePoint beam = Stored(orientation, -kToLeft, -kUp);
  const float to_right = beam.x * face.right.x + beam.y * face.right.y;
  const float to_down = beam.x * face.down.x + beam.y * face.down.y;
  const float cosine = std::cos(body.turn);
  const float sine = std::sin(body.turn);
  const float reach = kNothing * std::max(body.half_width, body.half_height);
  const auto index = [cell](float pixels, int count) {
    return static_cast<int>(std::clamp(pixels / static_cast<float>(cell), 0.0f, static_cast<float>(count)));
  };
  const int last_row = std::min(end, index(body.middle.y + reach + static_cast<float>(cell), light.rows));
  const int last_column = index(body.middle.x + reach + static_cast<float>(cell), light.cols);
  for (int row = std::max(first, index(body.middle.y - reach, light.rows)); row < last_row; ++row) {
    float *lights = light.ptr<float>(row);
    for (int column = index(body.middle.x - reach, light.cols); column < last_column; ++column) {
      const float x = (static_cast<float>(column) + 0.5f) * static_cast<float>(cell) - body.middle.x;
      const float y = (static_cast<float>(row) + 0.5f) * static_cast<float>(cell) - body.middle.y;
      float u = (x * face.right.x + y * face.right.y) / body.half_width;
      float v = (x * face.down.x + y * face.down.y) / body.half_height;
      const float radius = std::hypot(u, v);
      const float mask = 1.0f - Step(kWhole, kNothing, radius);
      if (mask <= 0.0f) continue;
      // The gradient of an ellipsoid as deep as it is wide, seen from the front; beyond its edge that of the edge. A
      // little short of it, so that the light does not turn over at the rim.
      if (radius > 0.92f) {
        u *= 0.92f / radius;
        v *= 0.92f / radius;
      }
      const float z = std::sqrt(1.0f - u * u - v * v);
      float normal_x = u;
      float normal_y = v * body.half_width / body.half_height;
      float normal_z = z;
      // Turned to a side, the face's front looks there.
      const float turned = normal_x * cosine + normal_z * sine;
      normal_z = normal_z * cosine - normal_x * sine;
      normal_x = turned;
      const float length = std::sqrt(normal_x * normal_x + normal_y * normal_y + normal_z * normal_z);
      const float facing = (normal_x * to_right + normal_y * to_down + normal_z * kToViewer) / length;
      lights[column] = std::max(lights[column], mask * std::clamp(facing, 0.0f, 1.0f));
    }
  }
}

}  // namespace

void LightFaces(const Faces &faces, const Orientation &orientation, int cell, const RowBands &bands, cv::Mat &light) {
  bands.Run(light.rows, std::max(RowBands::kRows / cell, 1), [&](int first, int end, int) {
    // setTo takes memory of its own for it.
    for (int row = first; row < end; ++row) std::fill_n(light.ptr<float>(row), light.cols, 0.0f);
    for (const Face &face : faces) LightFace(face, orientation, cell, first, end, light);
  });
}

}  // namespace lumivex
