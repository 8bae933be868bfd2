// Brows and the outer corners of the eyes.
#include <vector>

#include "features/face_features.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

// Between these a brow is looked for, from below: what is higher up may be hair.
constexpr float kBrowBottom = -0.17F;
constexpr float kBrowTop = -0.46F;
constexpr float kFaintBrow = 5;  // luma codes

// Between these the outer corner of an eye is looked for.
constexpr float kNearestCorner = 0.665F;
constexpr float kFarthestCorner = 0.805F;

// How dark the eye is in one column: its darkest place beside the pupils' line.
float EyeDarkness(const FaceCues &face, float x) {
  const int column = face.NearestColumn(x);
  float dark = 0;
  for (int row = face.NearestRow(-0.09F); row <= face.NearestRow(0.11F); ++row) {
    dark = std::max(dark, face.lines.at<float>(row, column));
  }
  return dark;
}

}  // namespace

Brow FindBrow(const FaceCues &face, int side) {
  const auto sign = static_cast<float>(side);
  float sum = 0;
  float weights = 0;
  int columns = 0;
  for (float x = 0.28F; x <= 0.72F; x += 0.04F, ++columns) {
    const int column = face.NearestColumn(sign * x);
    const auto dark = [&face, column](int row) { return face.spots.at<float>(row, column); };
    const int last = face.NearestRow(kBrowTop);
    int row = face.NearestRow(kBrowBottom);
    while (row > last && (dark(row) < kFaintBrow || dark(row - 1) > dark(row))) --row;
    if (row == last) continue;  // hair, or nothing
    const float weight = std::min(dark(row), 4 * kFaintBrow);
    sum += face.Y(static_cast<float>(row)) * weight;
    weights += weight;
  }
  if (weights <= 0) return {};
  return {sum / weights, Clamped01(weights / static_cast<float>(columns) / (2 * kFaintBrow))};
}

EyeCorner FindEyeCorner(const FaceCues &face, int side) {
  const auto sign = static_cast<float>(side);
  float lids = 0;  // how dark the eye is beside the iris
  int count = 0;
  for (float x = 0.34F; x <= 0.67F; x += 0.02F, ++count) lids += EyeDarkness(face, sign * x);
  lids /= static_cast<float>(count);
  float x = kNearestCorner;
  while (x < kFarthestCorner && EyeDarkness(face, sign * x) > 0.35F * lids) x += 0.01F;
  return {x, Clamped01((lids - 10) / 20)};
}

}  // namespace tessera
