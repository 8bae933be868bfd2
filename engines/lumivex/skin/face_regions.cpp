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
constexpr float kCircleTop = 0.08f;      // dark circles: below the lower lid
constexpr float kCircleHeight = 0.24f;   // in their middle
constexpr float kCircleSoft = 0.12f;
constexpr float kLineWidth = 0.16f;  // nose to mouth
constexpr float kLineSoft = 0.08f;
constexpr float kLineBesideNose = 0.10f;
constexpr float kLineBesideMouth = 0.16f;
constexpr float kLineBelowMouth = 0.18f;
constexpr float kOpeningSoft = 0.03f;  // eyes and mouth
constexpr float kOpenMouth = 0.06f;    // from lip to lip
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
  const PointBounds bounds = BoundsOf(outline);
  const auto to_cell = [cell](float pixels, int most) {
    return static_cast<int>(std::clamp(pixels / static_cast<float>(cell), 0.0f, static_cast<float>(most)));
  };
  const int x = to_cell(bounds.left - margin, map.width);
  const int y = to_cell(bounds.top - margin, map.height);
  return {x, y, to_cell(bounds.right + margin, map.width) - x, to_cell(bounds.bottom + margin, map.height) - y};
}

// Softens the patch's edges over that many pixels and keeps the greater of it and what the map has.
void Lay(const Patch &patch, int cell, float pixels, cv::Mat &map) {
  const int side = 2 * std::max(static_cast<int>(std::lround(pixels / static_cast<float>(2 * cell))), 0) + 1;
  if (side > 1) cv::blur(patch.pixels, patch.pixels, cv::Size(side, side), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  cv::Mat here = map(patch.place);
  cv::max(here, patch.pixels, here);
}

// The part of the map that the outline needs, cleared.
Patch PatchFor(const Outline &outline, int cell, float margin, const cv::Size &map) {
  const cv::Rect place = Around(outline, cell, margin + static_cast<float>(cell), map);
  return {place, place.empty() ? cv::Mat() : cv::Mat::zeros(place.size(), CV_8U)};
}

FramePoint Moved(const Face &face, const FramePoint &from, float to_right, float to_down) {
  return {from.x + face.eye_distance * (to_right * face.right.x + to_down * face.down.x),
          from.y + face.eye_distance * (to_right * face.right.y + to_down * face.down.y)};
}

// A crescent below the lower lid, from corner to corner.
Outline UnderEye(const Face &face, tessera::PointRange lower_lid, size_t from, size_t to) {
  Outline lid{face.points[from]};
  for (size_t i = lower_lid.first; i <= lower_lid.last; ++i) lid.push_back(face.points[i]);
  lid.push_back(face.points[to]);
  Outline outline;
  for (const FramePoint &point : lid) outline.push_back(Moved(face, point, 0.0f, kCircleTop));
  for (size_t i = lid.size(); i-- > 0;) {
    const float along = static_cast<float>(i) / static_cast<float>(lid.size() - 1);
    const float deep = kCircleHeight * std::sin(3.14159265f * (0.1f + 0.8f * along));
    outline.push_back(Moved(face, lid[i], 0.0f, kCircleTop + deep));
  }
  return outline;
}

FaceMask MaskOf(const Outline &outline, float soft, const cv::Size &frame) {
  cv::Rect place = Around(outline, 1, soft + 2.0f, frame);
  place.width += place.x & 1;
  place.height += place.y & 1;
  place.x &= ~1;
  place.y &= ~1;
  if (place.empty()) return {};
  Patch patch{place, cv::Mat::zeros(place.size(), CV_8U)};
  Fill(patch, outline, 1);
  const int side = 2 * std::max(static_cast<int>(std::lround(soft / 2.0f)), 1) + 1;
  cv::blur(patch.pixels, patch.pixels, cv::Size(side, side), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  return {place, patch.pixels};
}

}  // namespace

void DrawUnderEyes(const Face &face, int cell, cv::Mat &map) {
  const float soft = kCircleSoft * face.eye_distance;
  for (const Outline &outline :
       {UnderEye(face, tessera::kLeftLowerLid, tessera::kLeftEyeInnerCorner, tessera::kLeftEyeOuterCorner),
        UnderEye(face, tessera::kRightLowerLid, tessera::kRightEyeOuterCorner, tessera::kRightEyeInnerCorner)}) {
    Patch patch = PatchFor(outline, cell, soft, map.size());
    if (patch.place.empty()) continue;
    Fill(patch, outline, cell);
    Lay(patch, cell, soft, map);
  }
}

void DrawSmileLines(const Face &face, int cell, cv::Mat &map) {
  const float soft = kLineSoft * face.eye_distance;
  const float half = kLineWidth / 2.0f;
  const auto line = [&](float side, size_t wing, size_t corner) {
    const FramePoint top = Moved(face, face.points[wing], side * kLineBesideNose, 0.0f);
    const FramePoint middle = Moved(face, face.points[corner], side * kLineBesideMouth, 0.0f);
    const FramePoint end = Moved(face, middle, side * 0.02f, kLineBelowMouth);
    const Outline outline = {Moved(face, top, -half, 0.0f),   Moved(face, middle, -half, 0.0f),
                             Moved(face, end, -half, 0.0f),   Moved(face, end, half, 0.0f),
                             Moved(face, middle, half, 0.0f), Moved(face, top, half, 0.0f)};
    Patch patch = PatchFor(outline, cell, soft, map.size());
    if (patch.place.empty()) return;
    Fill(patch, outline, cell);
    Lay(patch, cell, soft, map);
  };
  // On the face's own sides: `right` runs from the left eye to the right one.
  line(-1.0f, tessera::kNoseLeftWing, tessera::kMouthLeftCorner);
  line(1.0f, tessera::kNoseRightWing, tessera::kMouthRightCorner);
}

FaceMask MaskLeftEye(const Face &face, const cv::Size &frame) {
  return MaskOf(PointsOf(face, {tessera::kLeftEye}), kOpeningSoft * face.eye_distance, frame);
}

FaceMask MaskRightEye(const Face &face, const cv::Size &frame) {
  return MaskOf(PointsOf(face, {tessera::kRightEye}), kOpeningSoft * face.eye_distance, frame);
}

FaceMask MaskOpenMouth(const Face &face, const cv::Size &frame) {
  const FramePoint &upper = face.At(FaceAnchor::kUpperLipInner);
  const FramePoint &lower = face.At(FaceAnchor::kLowerLipInner);
  const float open = (lower.x - upper.x) * face.down.x + (lower.y - upper.y) * face.down.y;
  if (open < kOpenMouth * face.eye_distance) return {};
  return MaskOf(PointsOf(face, {tessera::kUpperLipInner, tessera::kLowerLipInner}), kOpeningSoft * face.eye_distance,
                frame);
}

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
