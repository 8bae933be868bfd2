// What a face looked like when it was searched last, to be found again in the pictures that follow.
#pragma once

#include <memory>
#include <opencv2/core.hpp>
#include <vector>

#include "vision/picture_view.h"

namespace tessera {

// The part of a face that is followed, in units of its placement, and how finely: 80x86 pixels, 32 between the pupils.
inline constexpr float kPatchDensity = 32;
inline const cv::Rect2f kPatchWindow(-1.25F, -0.95F, 2.5F, 2.6875F);
inline constexpr int kPatchWidth = 80;
inline constexpr int kPatchHeight = 86;
inline const cv::Size kPatchSize(kPatchWidth, kPatchHeight);

// Brightness inside of the face's oval, which leaves out what is behind it.
struct Lighting {
  float mean = 0;
  float spread = 0;  // standard deviation
};

cv::Mat CutPatch(const cv::Mat &luma, const Placement &placement);

Lighting LightingOf(const cv::Mat &patch);

// Never changes once it is made. Threads: any.
struct FaceTemplate {
  cv::Mat patch;
  std::vector<cv::Mat> pyramid;     // of the patch, for optical flow
  std::vector<cv::Point2f> points;  // on the patch: where it can be told which way it moved
  Lighting light;
};

inline constexpr int kFlowWindow = 11;  // pixels
inline constexpr int kFlowLevels = 3;   // of the pyramid above its ground

// How alike the template and a patch of that lighting are inside of the oval, -1 to 1.
float Correlation(const FaceTemplate &face, const cv::Mat &patch, const Lighting &light);

// Null where there is too little to see.
std::shared_ptr<const FaceTemplate> MakeTemplate(const cv::Mat &luma, const Placement &placement);

}  // namespace tessera
