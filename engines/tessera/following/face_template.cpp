#include "following/face_template.h"

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

}  // namespace

const cv::Mat &FaceOval() {
  static const cv::Mat oval = MakeOval();
  return oval;
}

cv::Mat CutPatch(const cv::Mat &luma, const Placement &placement) {
  return CutUpright(luma, placement, kPatchWindow, kPatchDensity);
}

Lighting LightingOf(const cv::Mat &patch) {
  cv::Scalar mean;
  cv::Scalar spread;
  cv::meanStdDev(patch, mean, spread, FaceOval());
  return {static_cast<float>(mean[0]), static_cast<float>(spread[0])};
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
