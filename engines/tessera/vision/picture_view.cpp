#include "vision/picture_view.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace tessera {
namespace {

constexpr double kBlack = 16;

}  // namespace

cv::Point2f Turned(cv::Point2f point, float angle) {
  const float c = std::cos(angle);
  const float s = std::sin(angle);
  return {c * point.x - s * point.y, s * point.x + c * point.y};
}

cv::Point2f Placement::ToPicture(cv::Point2f point) const {
  return origin + Turned(point, angle) * unit;
}

cv::Point2f Placement::FromPicture(cv::Point2f point) const {
  return Turned(point - origin, -angle) * (1.0F / unit);
}

Placement PlacementOfEyes(cv::Point2f left, cv::Point2f right) {
  const cv::Point2f across = right - left;
  return {(left + right) * 0.5F, std::hypot(across.x, across.y), std::atan2(across.y, across.x)};
}

Placement Composed(const Placement &outer, const Placement &inner) {
  return {outer.ToPicture(inner.origin), outer.unit * inner.unit, outer.angle + inner.angle};
}

Placement Relative(const Placement &frame, const Placement &place) {
  const auto turn = static_cast<float>(std::remainder(static_cast<double>(place.angle - frame.angle), 2 * CV_PI));
  return {frame.FromPicture(place.origin), place.unit / frame.unit, turn};
}

Placement PartOf(const Placement &relative, float part) {
  return {relative.origin * part, std::pow(relative.unit, part), relative.angle * part};
}

Placement Scaled(const Placement &placement, float scale) {
  const cv::Point2f half(0.5F, 0.5F);  // of a pixel: its centre is a whole number
  return {(placement.origin + half) * scale - half, placement.unit * scale, placement.angle};
}

cv::Mat CutUpright(const cv::Mat &plane, const Placement &placement, const cv::Rect2f &window, float density,
                   bool halved, float stretch) {
  const cv::Size size(std::max(1, cvRound(window.width * density)), std::max(1, cvRound(window.height * density)));
  Placement in_plane = placement;
  if (halved) {
    in_plane.unit *= 0.5F;
    in_plane.origin = (placement.origin - cv::Point2f(0.5F, 0.5F)) * 0.5F;
  }
  cv::Mat source = plane;
  cv::Point2f source_origin(0, 0);
  float source_scale = 1;

  const auto stretched = [stretch](cv::Point2f point) { return cv::Point2f(point.x, point.y * stretch); };
  // Every pixel counts: where the picture has many more than the patch, it is averaged first.
  const float shrink = std::floor(in_plane.unit / density);
  if (shrink >= 2) {
    const float reach = std::hypot(window.width, window.height * stretch) * 0.5F * in_plane.unit + 2 * shrink;
    const cv::Point2f middle = in_plane.ToPicture(stretched((window.tl() + window.br()) * 0.5F));
    cv::Rect area(cvFloor(middle.x - reach), cvFloor(middle.y - reach), cvCeil(2 * reach), cvCeil(2 * reach));
    area &= cv::Rect(0, 0, plane.cols, plane.rows);
    const int factor = static_cast<int>(shrink);
    area.width -= area.width % factor;
    area.height -= area.height % factor;
    if (area.area() > 0) {
      cv::resize(plane(area), source, cv::Size(area.width / factor, area.height / factor), 0, 0, cv::INTER_AREA);
      source_origin = cv::Point2f(static_cast<float>(area.x), static_cast<float>(area.y));
      source_scale = 1 / shrink;
    }
  }

  const float step = in_plane.unit / density * source_scale;
  const float half = 0.5F * (1 - source_scale);  // pixel centres: those of averaged pixels lie between
  const cv::Point2f first = in_plane.ToPicture(stretched(window.tl() + cv::Point2f(0.5F, 0.5F) * (1 / density)));
  const cv::Point2f corner = (first - source_origin) * source_scale - cv::Point2f(half, half);
  const cv::Point2f right = Turned({step, 0}, in_plane.angle);
  const cv::Matx23f to_source(right.x, -right.y * stretch, corner.x, right.y, right.x * stretch, corner.y);
  cv::Mat patch;
  cv::warpAffine(source, patch, to_source, size, cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
  return patch;
}

cv::Mat Evened(const cv::Mat &luma, double most_contrast, int parts) {
  cv::Mat evened;
  cv::createCLAHE(most_contrast, cv::Size(parts, parts))->apply(luma, evened);
  return evened;
}

bool IsDark(const cv::Mat &luma) {
  constexpr double kDark = 105;  // mean code of a face
  return cv::mean(luma)[0] < kDark;
}

cv::Mat CutOffAbove(const cv::Mat &luma, double white) {
  const double gain = 255 / std::max(8.0, white - kBlack);
  cv::Mat cut;
  luma.convertTo(cut, CV_8U, gain, -kBlack * gain);
  return cut;
}

double WhiteForSkin(double skin) {
  return kBlack + 1.15 * (skin - kBlack);
}

double MedianCode(const cv::Mat &luma) {
  std::array<int, 256> counts{};
  for (int y = 0; y < luma.rows; ++y) {
    const uint8_t *row = luma.ptr(y);
    for (int x = 0; x < luma.cols; ++x) ++counts[row[x]];
  }
  const int half = luma.rows * luma.cols / 2;
  int code = 0;
  for (int sum = counts[0]; sum < half && code < 255; sum += counts[static_cast<size_t>(code)]) ++code;
  return code;
}

double SkinCode(const cv::Mat &patch, const cv::Rect2f &window, float density) {
  const cv::Rect2f skin(-0.5F, 0.3F, 1, 0.5F);
  const cv::Rect area((skin.tl() - window.tl()) * density,
                      cv::Size(cvRound(skin.width * density), cvRound(skin.height * density)));
  return MedianCode(patch(area));
}

cv::Mat Lit(const cv::Mat &luma) {
  constexpr double kDark = 70;  // mean luma code above black
  constexpr double kRaised = 100;
  constexpr double kMostGain = 5;
  const double mean = std::max(1.0, cv::mean(luma)[0] - kBlack);
  if (mean >= kDark) return luma;
  const double gain = std::min(kMostGain, kRaised / mean);
  cv::Mat lit;
  luma.convertTo(lit, CV_8U, gain, -kBlack * gain);
  return lit;
}

}  // namespace tessera
