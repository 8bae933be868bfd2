#include "faces/face_fit.h"

#include <algorithm>
#include <cmath>
#include <opencv2/core.hpp>

namespace lumivex {
namespace {

constexpr double kThinnest = 1e-3;   // of the pins' spread: a line counts as flat below that
constexpr double kLeastArea = 1e-6;  // frame pixels for one of the picture
constexpr double kMostNumber = 1e9;  // beyond any frame

cv::Vec2d Doubles(const FramePoint &point) {
  return cv::Vec2d(static_cast<double>(point.x), static_cast<double>(point.y));
}

// Least squares; a row of `places` for each number of `targets`.
cv::Mat_<double> Solved(const cv::Mat_<double> &places, const cv::Mat_<double> &targets) {
  cv::Mat_<double> solution;
  cv::solve(places, targets, solution, cv::DECOMP_SVD);
  return solution;
}

cv::Matx23d General(const cv::Mat_<double> &from, const cv::Mat_<double> &to) {
  cv::Mat_<double> places;
  cv::hconcat(from, cv::Mat_<double>::ones(from.rows, 1), places);
  const cv::Mat_<double> map = Solved(places, to).t();
  return map;
}

// Turned, scaled and moved.
cv::Matx23d Similar(const cv::Mat_<double> &from, const cv::Mat_<double> &to) {
  cv::Mat_<double> places(2 * from.rows, 4);
  for (int i = 0; i < from.rows; ++i) {
    *places.ptr<cv::Vec4d>(2 * i) = {from(i, 0), -from(i, 1), 1.0, 0.0};
    *places.ptr<cv::Vec4d>(2 * i + 1) = {from(i, 1), from(i, 0), 0.0, 1.0};
  }
  const cv::Mat_<double> found = Solved(places, to.reshape(1, 2 * to.rows));
  return {found(0), -found(1), found(2), found(1), found(0), found(3)};
}

bool IsUsable(const cv::Matx23d &map) {
  const bool finite = std::all_of(map.val, map.val + map.rows * map.cols,
                                  [](double number) { return std::fabs(number) < kMostNumber; });
  return finite && std::fabs(map(0, 0) * map(1, 1) - map(0, 1) * map(1, 0)) >= kLeastArea;
}

}  // namespace

std::optional<AffineMap> FitAffine(const std::vector<FitPin> &pins, const Face &face) {
  if (pins.size() < 2) return std::nullopt;
  // In the face's own axes, which are mirrored where the face is.
  const cv::Vec2d right = Doubles(face.right);
  const cv::Vec2d down = Doubles(face.down);
  const auto count = static_cast<int>(pins.size());
  cv::Mat_<double> from(count, 2);
  cv::Mat_<double> to(count, 2);
  for (int i = 0; i < count; ++i) {
    const FitPin &pin = pins[static_cast<size_t>(i)];
    *from.ptr<cv::Vec2d>(i) = Doubles(pin.from);
    *to.ptr<cv::Vec2d>(i) = cv::Vec2d(right.dot(Doubles(pin.to)), down.dot(Doubles(pin.to)));
  }
  cv::Mat spread;
  cv::Mat middle;
  cv::calcCovarMatrix(from, spread, middle, cv::COVAR_NORMAL | cv::COVAR_ROWS);
  const double size = cv::trace(spread)[0];
  if (!(size > 0.0)) return std::nullopt;
  const bool flat = count < 3 || cv::determinant(spread) < kThinnest * size * size;
  const cv::Matx22d axes(right[0], down[0], right[1], down[1]);
  const cv::Matx23d map = axes * (flat ? Similar(from, to) : General(from, to));
  if (!IsUsable(map)) return std::nullopt;
  return AffineMap{map(0, 0), map(0, 1), map(0, 2), map(1, 0), map(1, 1), map(1, 2)};
}

std::optional<AffineMap> Inverse(const AffineMap &map) {
  const double determinant = map.a * map.e - map.b * map.d;
  if (!(std::fabs(determinant) >= kLeastArea)) return std::nullopt;
  AffineMap inverse;
  inverse.a = map.e / determinant;
  inverse.b = -map.b / determinant;
  inverse.d = -map.d / determinant;
  inverse.e = map.a / determinant;
  inverse.c = -(inverse.a * map.c + inverse.b * map.f);
  inverse.f = -(inverse.d * map.c + inverse.e * map.f);
  return inverse;
}

}  // namespace lumivex
