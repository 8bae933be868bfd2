#include "following/face_template.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>

#include "vision/serially.h"

namespace tessera {
namespace {

constexpr int kMostPoints = 32;
constexpr size_t kFewestPoints = 10;
constexpr double kPointQuality = 0.01;  // of the best one's
// In dark skin, where the whites of the eyes and the teeth outshine all else.
constexpr double kPointQualityBesideBright = 0.001;
constexpr double kPointDistance = 6;  // pixels of the patch
constexpr float kLeastSpread = 2;     // luma codes: a plain wall has less

cv::Mat MakeOval() {
  cv::Mat oval(kPatchSize, CV_8UC1, cv::Scalar(0));
  const cv::Point2f middle = (cv::Point2f(0, 0.38F) - kPatchWindow.tl()) * kPatchDensity;
  cv::ellipse(oval, cv::RotatedRect(middle, cv::Size2f(1.9F * kPatchDensity, 2.4F * kPatchDensity), 0), cv::Scalar(255),
              cv::FILLED);
  return oval;
}

// 255 in the oval of a face.
const cv::Mat &FaceOval() {
  static const cv::Mat oval = MakeOval();
  return oval;
}

uint32_t PixelsInOval() {
  static const auto count = static_cast<uint32_t>(cv::countNonZero(FaceOval()));
  return count;
}

struct Sums {
  uint32_t codes = 0;     // of the first patch
  uint32_t products = 0;  // of both
};

// Inside of the oval.
Sums SumsOf(const cv::Mat &a, const cv::Mat &b) {
  static_assert(int64_t{kPatchWidth} * kPatchHeight * 255 * 255 <= UINT32_MAX);
  const cv::Mat &oval = FaceOval();
  Sums sums;
  for (int y = 0; y < kPatchHeight; ++y) {
    const uint8_t *first = a.ptr(y);
    const uint8_t *second = b.ptr(y);
    const uint8_t *mask = oval.ptr(y);
    for (int x = 0; x < kPatchWidth; ++x) {
      const auto code = static_cast<uint32_t>(first[x] & mask[x]);
      sums.codes += code;
      sums.products += code * second[x];
    }
  }
  return sums;
}

}  // namespace

cv::Mat CutPatch(const cv::Mat &luma, const Placement &placement) {
  return CutUpright(luma, placement, kPatchWindow, kPatchDensity);
}

Lighting LightingOf(const cv::Mat &patch) {
  const Sums sums = SumsOf(patch, patch);
  const double mean = static_cast<double>(sums.codes) / PixelsInOval();
  const double variance = static_cast<double>(sums.products) / PixelsInOval() - mean * mean;
  return {static_cast<float>(mean), static_cast<float>(std::sqrt(std::max(0.0, variance)))};
}

// Of the bytes as they are: what was cut off at either end makes no difference that counts.
float Correlation(const FaceTemplate &face, const cv::Mat &patch, const Lighting &light) {
  const Sums sums = SumsOf(patch, face.patch);
  const double both = static_cast<double>(sums.products) / PixelsInOval() -
                      static_cast<double>(light.mean) * static_cast<double>(face.light.mean);
  return static_cast<float>(both) / (face.light.spread * light.spread);
}

std::shared_ptr<const FaceTemplate> MakeTemplate(const cv::Mat &luma, const Placement &placement) {
  auto made = std::make_shared<FaceTemplate>();
  Serially([&] {
    made->patch = CutPatch(luma, placement);
    made->light = LightingOf(made->patch);
    if (made->light.spread < kLeastSpread) return;
    for (const double quality : {kPointQuality, kPointQualityBesideBright}) {
      if (made->points.size() >= kFewestPoints) break;
      cv::goodFeaturesToTrack(made->patch, made->points, kMostPoints, quality, kPointDistance, FaceOval(), 5);
    }
    cv::buildOpticalFlowPyramid(made->patch, made->pyramid, cv::Size(kFlowWindow, kFlowWindow), kFlowLevels);
  });
  if (made->points.size() < kFewestPoints) return nullptr;
  return made;
}

}  // namespace tessera
