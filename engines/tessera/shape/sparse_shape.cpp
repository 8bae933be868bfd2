#include "shape/sparse_shape.h"

#include <algorithm>
#include <cmath>

#include "shape/mean_shape.h"
#include "tessera/point_layout.h"

namespace tessera {
namespace {

using Points = std::vector<cv::Point2f>;

// Where the sparse points stand, by their first one.
constexpr size_t kSparseContour = 0;
constexpr size_t kSparseLeftBrow = 17;
constexpr size_t kSparseRightBrow = 22;
constexpr size_t kSparseRidge = 27;
constexpr size_t kSparseNoseBase = 33;  // the middle of the five
constexpr size_t kSparseLeftEye = 36;
constexpr size_t kSparseRightEye = 42;
constexpr size_t kSparseLips = 48;
constexpr size_t kSparseInnerLips = 60;

cv::Point2f Middle(const Points &points, size_t first, size_t count) {
  cv::Point2f sum;
  for (size_t i = first; i < first + count; ++i) sum += points[i];
  return sum * (1 / static_cast<float>(count));
}

// `range` evenly along the line of points `line`, without its ends where `inner`.
void Along(const Points &line, const PointRange &range, bool inner, Points &dense) {
  const size_t count = range.last - range.first + 1;
  for (size_t i = 0; i < count; ++i) {
    const float steps = static_cast<float>(inner ? count + 1 : count - 1);
    const float at = static_cast<float>(inner ? i + 1 : i) / steps * static_cast<float>(line.size() - 1);
    const size_t before = std::min(static_cast<size_t>(at), line.size() - 2);
    dense[range.first + i] = line[before] + (line[before + 1] - line[before]) * (at - static_cast<float>(before));
  }
}

Points Line(const Points &sparse, std::initializer_list<size_t> places) {
  Points line;
  for (const size_t place : places) line.push_back(sparse[place]);
  return line;
}

// Moves what is not given as the given points moved from the mean shape.
void GoAlong(const PointRange &range, cv::Point2f move, Points &dense) {
  for (size_t i = range.first; i <= range.last; ++i) dense[i] += move;
}

void PlaceEye(const Points &sparse, size_t first, const PointRange &upper, const PointRange &lower, size_t pupil,
              Points &dense) {
  Along(Line(sparse, {first, first + 1, first + 2, first + 3}), upper, false, dense);
  Along(Line(sparse, {first + 3, first + 4, first + 5, first}), lower, true, dense);
  dense[pupil] = Middle(sparse, first, 6);
}

void PlaceBrow(const Points &sparse, size_t first, const PointRange &upper, const PointRange &lower, Points &dense) {
  const Points &mean = MeanShape();
  Along(Points(sparse.begin() + static_cast<ptrdiff_t>(first), sparse.begin() + static_cast<ptrdiff_t>(first) + 5),
        upper, false, dense);
  const size_t count = upper.last - upper.first + 1;
  GoAlong(lower, Middle(dense, upper.first, count) - Middle(mean, upper.first, count), dense);
}

}  // namespace

std::vector<cv::Point2f> DenseShape(const std::vector<cv::Point2f> &sparse) {
  const Points &mean = MeanShape();
  Points dense = mean;
  Along(Points(sparse.begin() + kSparseContour, sparse.begin() + kSparseLeftBrow), kContour, false, dense);
  PlaceBrow(sparse, kSparseLeftBrow, kLeftBrowUpper, kLeftBrowLower, dense);
  PlaceBrow(sparse, kSparseRightBrow, kRightBrowUpper, kRightBrowLower, dense);
  PlaceEye(sparse, kSparseLeftEye, kLeftUpperLid, kLeftLowerLid, kLeftPupil, dense);
  PlaceEye(sparse, kSparseRightEye, kRightUpperLid, kRightLowerLid, kRightPupil, dense);
  Along(Points(sparse.begin() + kSparseRidge, sparse.begin() + kSparseRidge + 4), {kNoseRoot, kNoseTip}, false, dense);
  dense[kNoseBase] = sparse[kSparseNoseBase];
  // The nose's sides: at its base as that moved, at its root as the root.
  const cv::Point2f root = dense[kNoseRoot] - mean[kNoseRoot];
  const cv::Point2f base = dense[kNoseBase] - mean[kNoseBase];
  for (size_t i = kNoseSides.first; i <= kNoseSides.last; ++i) {
    const float part = std::clamp(mean[i].y / mean[kNoseBase].y, 0.0F, 1.0F);
    dense[i] += root + (base - root) * part;
  }
  std::copy_n(sparse.begin() + kSparseLips, 12, dense.begin() + kMouthOuter.first);
  std::copy_n(sparse.begin() + kSparseInnerLips, 8, dense.begin() + kUpperLipInner.first);
  return dense;
}

}  // namespace tessera
