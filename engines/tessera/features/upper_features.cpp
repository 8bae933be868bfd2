// Brows and the outer corners of the eyes.
#include <algorithm>
#include <vector>

#include "features/face_depth.h"
#include "features/face_features.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

// Between these a brow is looked for, rather at the height of an average one.
constexpr float kBrowBottom = -0.18F;
constexpr float kBrowTop = -0.56F;
constexpr float kBrowHeight = -0.37F;
constexpr float kBrowSpread = 0.1F;
constexpr float kFaintBrow = 5;  // luma codes
constexpr float kColumnsApart = 0.04F;
constexpr float kUsualBend = 0.6F;

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

namespace {

struct DarkPlace {
  float out = 0;  // from the brow's middle
  float y = 0;
  float dark = 0;
};

// The smooth path through the darkest places above an eye, from the inside to the outside.
std::vector<DarkPlace> DarkestPath(const FaceCues &face, float sign) {
  const int top = face.NearestRow(kBrowTop);
  const auto rows = static_cast<size_t>(face.NearestRow(kBrowBottom) - top + 1);
  std::vector<float> usual;
  for (size_t row = 0; row < rows; ++row)
    usual.push_back(Bell(face.Y(static_cast<float>(top) + static_cast<float>(row)) - kBrowHeight, kBrowSpread));
  std::vector<float> xs;
  std::vector<int> columns;
  for (float x = kBrowFrom; x <= kBrowTo; x += kColumnsApart) {
    xs.push_back(x);
    columns.push_back(face.NearestColumn(sign * x + face.Aside(FaceDepth(x, kBrowHeight))));
  }
  const auto dark = [&](size_t i, size_t row) { return face.spots.at<float>(top + static_cast<int>(row), columns[i]); };
  std::vector<std::vector<float>> best(xs.size(), std::vector<float>(rows, 0));
  std::vector<std::vector<size_t>> from(xs.size(), std::vector<size_t>(rows, 0));
  for (size_t i = 0; i < xs.size(); ++i) {
    for (size_t row = 0; row < rows; ++row) {
      size_t before = row;
      if (i > 0) {
        if (row > 0 && best[i - 1][row - 1] > best[i - 1][before]) before = row - 1;
        if (row + 1 < rows && best[i - 1][row + 1] > best[i - 1][before]) before = row + 1;
        best[i][row] = best[i - 1][before];
      }
      from[i][row] = before;
      best[i][row] += dark(i, row) * usual[row];
    }
  }
  const std::vector<float> &last = best.back();
  auto row = static_cast<size_t>(std::max_element(last.begin(), last.end()) - last.begin());
  std::vector<DarkPlace> path(xs.size());
  for (size_t i = xs.size(); i-- > 0; row = from[i][row]) {
    path[i] = {xs[i] - kBrowMiddle, face.Y(static_cast<float>(top) + static_cast<float>(row)), dark(i, row)};
  }
  return path;
}

}  // namespace

// A parabola through the path, rather one with the usual bend.
Brow FindBrow(const FaceCues &face, int side) {
  constexpr float kStiffSlope = 0.004F;  // few columns tell no slope
  constexpr float kStiffBend = 0.0004F;
  const std::vector<DarkPlace> path = DarkestPath(face, static_cast<float>(side));
  cv::Matx33f sums = cv::Matx33f::zeros();
  cv::Vec3f heights(0, 0, 0);
  for (const DarkPlace &place : path) {
    const float weight = std::clamp(place.dark, 0.0F, 4 * kFaintBrow);
    const cv::Vec3f powers(1, place.out, place.out * place.out);
    sums += weight * powers * powers.t();
    heights += weight * place.y * powers;
  }
  const float all = sums(0, 0);
  if (all <= 0) return {};
  sums(1, 1) += kStiffSlope * all;
  sums(2, 2) += kStiffBend * all;
  heights[2] += kStiffBend * all * kUsualBend;
  const cv::Vec3f line = sums.solve(heights, cv::DECOMP_LU);
  return {line[0], line[1], line[2], Clamped01(all / static_cast<float>(path.size()) / (2 * kFaintBrow))};
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
