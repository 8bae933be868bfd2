// Brows and the outer corners of the eyes.
#include <vector>

#include "features/face_depth.h"
#include "features/face_features.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

// Between these a brow is looked for, from below: what is higher up may be hair.
constexpr float kBrowBottom = -0.17F;
constexpr float kBrowTop = -0.46F;
constexpr float kBrowMiddle = -0.34F;
constexpr float kFaintBrow = 5;  // luma codes

// Between these the outer corner of an eye is looked for.
constexpr float kNearestCorner = 0.665F;
constexpr float kFarthestCorner = 0.805F;

// How dark the eye is in one column: its darkest place beside the pupils' line.
float EyeDarkness(const FaceCues &face, float x) {
  const int column = face.NearestColumn(x + face.Aside(FaceDepth(x, 0)));
  float dark = 0;
  for (int row = face.NearestRow(-0.09F); row <= face.NearestRow(0.11F); ++row) {
    dark = std::max(dark, face.lines.at<float>(row, column));
  }
  return dark;
}

}  // namespace

// A line through what the columns say.
Brow FindBrow(const FaceCues &face, int side) {
  const auto sign = static_cast<float>(side);
  const float middle = (kBrowFrom + kBrowTo) * 0.5F;
  float sum = 0;
  float sum_x = 0;
  float sum_y = 0;
  float sum_xx = 0;
  float sum_xy = 0;
  int columns = 0;
  for (float x = kBrowFrom; x <= kBrowTo; x += 0.04F, ++columns) {
    const int column = face.NearestColumn(sign * x + face.Aside(FaceDepth(x, kBrowMiddle)));
    const auto dark = [&face, column](int row) { return face.spots.at<float>(row, column); };
    const int last = face.NearestRow(kBrowTop);
    int row = face.NearestRow(kBrowBottom);
    while (row > last && (dark(row) < kFaintBrow || dark(row - 1) > dark(row))) --row;
    if (row == last) continue;  // hair, or nothing
    const float weight = std::min(dark(row), 4 * kFaintBrow);
    const float off = x - middle;
    const float y = face.Y(static_cast<float>(row));
    sum += weight;
    sum_x += off * weight;
    sum_y += y * weight;
    sum_xx += off * off * weight;
    sum_xy += off * y * weight;
  }
  if (sum <= 0) return {};
  constexpr float kStiff = 0.01F;  // few columns tell no slope
  const float spread = sum_xx - sum_x * sum_x / sum + kStiff * sum;
  const float slope = (sum_xy - sum_x * sum_y / sum) / spread;
  const float height = (sum_y - slope * sum_x) / sum;
  return {height, slope, Clamped01(sum / static_cast<float>(columns) / (2 * kFaintBrow))};
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
