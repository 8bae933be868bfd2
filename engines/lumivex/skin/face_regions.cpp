#include "skin/face_regions.h"

#include <tessera/point_layout.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

namespace lumivex {
namespace {

// In distances between the eyes.
constexpr float kForeheadTop = 0.85f;  // above the eyes
constexpr float kOvalSoft = 0.16f;     // width of the oval's soft edge
constexpr float kFeatureSoft = 0.05f;  // and of a feature's
constexpr float kLidMargin = 0.07f;    // lashes and the folds of the lids
constexpr float kBrowMargin = 0.05f;
constexpr float kLipMargin = 0.04f;
constexpr float kNostrilWidth = 0.13f;
constexpr float kNostrilHeight = 0.07f;
constexpr float kNostrilBeside = 0.11f;  // from the middle of the nose's base
constexpr int kForeheadSteps = 12;

constexpr int kShift = 4;  // bits behind the point that the polygons have

using Outline = std::vector<FramePoint>;

// A part of a map around one face, so that soft edges cost no more than the face is large.
struct Patch {
  cv::Rect place;
  cv::Mat pixels;
};

cv::Point OnMap(const FramePoint &point, int cell, const cv::Point &origin) {
  const auto scale = static_cast<float>(1 << kShift) / static_cast<float>(cell);
  const auto half = static_cast<float>(1 << kShift) / 2.0f;  // 0, 0 is a cell's middle there
  return {static_cast<int>(std::lround(point.x * scale - half)) - (origin.x << kShift),
          static_cast<int>(std::lround(point.y * scale - half)) - (origin.y << kShift)};
}

void Fill(Patch &patch, const Outline &outline, int cell) {
  std::vector<cv::Point> corners;
  corners.reserve(outline.size());
  for (const FramePoint &point : outline) corners.push_back(OnMap(point, cell, patch.place.tl()));
  cv::fillPoly(patch.pixels, std::vector<std::vector<cv::Point>>{corners}, cv::Scalar(255), cv::LINE_8, kShift);
}

Outline PointsOf(const Face &face, std::initializer_list<tessera::PointRange> ranges) {
  Outline outline;
  for (const tessera::PointRange &range : ranges) {
    for (size_t i = range.first; i <= range.last; ++i) outline.push_back(face.points[i]);
  }
  return outline;
}

// Every corner moved away from the middle by that many pixels.
Outline Grown(Outline outline, float pixels) {
  FramePoint middle;
  for (const FramePoint &point : outline) {
    middle.x += point.x / static_cast<float>(outline.size());
    middle.y += point.y / static_cast<float>(outline.size());
  }
  for (FramePoint &point : outline) {
    const float x = point.x - middle.x;
    const float y = point.y - middle.y;
    const float length = std::max(std::hypot(x, y), 1.0f);
    point.x += pixels * x / length;
    point.y += pixels * y / length;
  }
  return outline;
}

Outline Ellipse(const Face &face, const FramePoint &middle, float half_width, float half_height) {
  Outline outline;
  for (int i = 0; i < 2 * kForeheadSteps; ++i) {
    const float angle = 3.14159265f * static_cast<float>(i) / kForeheadSteps;
    const float right = half_width * std::cos(angle) * face.eye_distance;
    const float down = half_height * std::sin(angle) * face.eye_distance;
    outline.push_back(
        {middle.x + right * face.right.x + down * face.down.x, middle.y + right * face.right.y + down * face.down.y});
  }
  return outline;
}

// The jaw by its points, closed above by half an ellipse to the hairline.
Outline Oval(const Face &face) {
  Outline outline = PointsOf(face, {tessera::kContour});
  const FramePoint left = outline.front();
  const FramePoint right = outline.back();
  const FramePoint middle{(left.x + right.x) / 2.0f, (left.y + right.y) / 2.0f};
  const float top = kForeheadTop * face.eye_distance;
  for (int i = 1; i < kForeheadSteps; ++i) {
    const float angle = 3.14159265f * static_cast<float>(i) / kForeheadSteps;
    const float across = std::cos(angle);
    const float up = top * std::sin(angle);
    outline.push_back({middle.x + across * (right.x - middle.x) - up * face.down.x,
                       middle.y + across * (right.y - middle.y) - up * face.down.y});
  }
  return outline;
}

cv::Rect Around(const Outline &outline, int cell, float margin, const cv::Size &map) {
  float left = outline[0].x;
  float right = left;
  float top = outline[0].y;
  float bottom = top;
  for (const FramePoint &point : outline) {
    left = std::min(left, point.x);
    right = std::max(right, point.x);
    top = std::min(top, point.y);
    bottom = std::max(bottom, point.y);
  }
  const auto to_cell = [cell](float pixels, int most) {
    return static_cast<int>(std::clamp(pixels / static_cast<float>(cell), 0.0f, static_cast<float>(most)));
  };
  const int x = to_cell(left - margin, map.width);
  const int y = to_cell(top - margin, map.height);
  return {x, y, to_cell(right + margin, map.width) - x, to_cell(bottom + margin, map.height) - y};
}

// Softens the patch's edges over that many pixels and keeps the greater of it and what the map has.
void Lay(const Patch &patch, int cell, float pixels, cv::Mat &map) {
  const int side = 2 * std::max(static_cast<int>(std::lround(pixels / static_cast<float>(2 * cell))), 0) + 1;
  if (side > 1) cv::blur(patch.pixels, patch.pixels, cv::Size(side, side), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  cv::Mat here = map(patch.place);
  cv::max(here, patch.pixels, here);
}

}  // namespace

void DrawFaceRegions(const Face &face, int cell, cv::Mat &inside, cv::Mat &features) {
  const float eyes = face.eye_distance;
  const Outline oval = Oval(face);
  const cv::Rect place = Around(oval, cell, eyes * kOvalSoft + static_cast<float>(cell), inside.size());
  if (place.empty()) return;

  Patch patch{place, cv::Mat::zeros(place.size(), CV_8U)};
  Fill(patch, oval, cell);
  Lay(patch, cell, eyes * kOvalSoft, inside);

  patch.pixels.setTo(0);
  Fill(patch, Grown(PointsOf(face, {tessera::kLeftEye}), kLidMargin * eyes), cell);
  Fill(patch, Grown(PointsOf(face, {tessera::kRightEye}), kLidMargin * eyes), cell);
  Fill(patch, Grown(PointsOf(face, {tessera::kLeftBrow}), kBrowMargin * eyes), cell);
  Fill(patch, Grown(PointsOf(face, {tessera::kRightBrow}), kBrowMargin * eyes), cell);
  Fill(patch, Grown(PointsOf(face, {tessera::kMouthOuter}), kLipMargin * eyes), cell);
  const FramePoint &base = face.points[tessera::kNoseBase];
  const FramePoint &tip = face.points[tessera::kNoseTip];
  // The nostrils lie half way between the nose's tip and its base.
  const FramePoint between{(base.x + tip.x) / 2.0f, (base.y + tip.y) / 2.0f};
  for (const float side : {-1.0f, 1.0f}) {
    const float beside = side * kNostrilBeside * eyes;
    const FramePoint nostril{between.x + beside * face.right.x, between.y + beside * face.right.y};
    Fill(patch, Ellipse(face, nostril, kNostrilWidth / 2.0f, kNostrilHeight), cell);
  }
  Lay(patch, cell, eyes * kFeatureSoft, features);
}

}  // namespace lumivex
