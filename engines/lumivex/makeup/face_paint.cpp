#include "makeup/face_paint.h"

#include <tessera/point_layout.h>

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace lumivex {
namespace {

// In distances between the eyes.
constexpr float kLipSoft = 0.045f;
constexpr float kInnerLipSoft = 0.02f;
constexpr float kClosedGap = 0.04f;  // between the lips: up to here they are painted through
constexpr float kOpenGap = 0.08f;    // and from here on the mouth is left out
constexpr float kBlushHalfHeight = 0.30f;
constexpr float kShadowSoft = 0.09f;
constexpr float kShadowBeside = 0.05f;  // beyond the outer corner
constexpr float kShadowHeight = 0.60f;  // of the way from the lid to the brow
constexpr float kLidSoft = 0.02f;
constexpr float kLinerOuter = 0.050f;  // its thickness at the corners
constexpr float kLinerInner = 0.018f;
constexpr float kLinerWing = 0.10f;
constexpr float kLinerSoft = 0.02f;
constexpr float kBrowSoft = 0.05f;

constexpr float kBlushHalfLength = 0.46f;  // of the way from the nose's wing to the face's edge
constexpr float kBlushMiddle = 0.54f;

constexpr int kShift = 4;               // bits behind the point that the polygons have
constexpr float kFarthest = 20'000.0f;  // pixels from the mask that a corner is taken from
constexpr size_t kLidPoints = 7;

float Smoothstep(float from, float to, float value) {
  const float part = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return part * part * (3.0f - 2.0f * part);
}

FramePoint Between(const FramePoint &one, const FramePoint &other, float part) {
  return {one.x + (other.x - one.x) * part, one.y + (other.y - one.y) * part};
}

FramePoint Add(const FramePoint &point, const FramePoint &way, float length) {
  return {point.x + way.x * length, point.y + way.y * length};
}

std::vector<FramePoint> PointsOf(const Face &face, tessera::PointRange range) {
  return {face.points.begin() + static_cast<ptrdiff_t>(range.first),
          face.points.begin() + static_cast<ptrdiff_t>(range.last) + 1};
}

// From pixels of the frame, whose corner is 0, to those of a mask, whose first pixel's middle is 0.
cv::Point OnMask(const FramePoint &point, const cv::Point &origin) {
  const auto bits = [](float value) {
    return static_cast<int>(std::lround(std::clamp(value, -kFarthest, kFarthest) * static_cast<float>(1 << kShift)));
  };
  return {bits(point.x - 0.5f - static_cast<float>(origin.x)), bits(point.y - 0.5f - static_cast<float>(origin.y))};
}

void FillOutline(cv::Mat &mask, const std::vector<FramePoint> &outline, const cv::Point &origin) {
  std::vector<cv::Point> corners;
  corners.reserve(outline.size());
  for (const FramePoint &point : outline) corners.push_back(OnMask(point, origin));
  cv::fillPoly(mask, std::vector<std::vector<cv::Point>>{corners}, cv::Scalar(255), cv::LINE_AA, kShift);
}

// Twice, which makes the slope a smooth one.
void Soften(cv::Mat &mask, float soft) {
  const int side = 2 * static_cast<int>(std::lround(std::min(soft, 500.0f) / 4.0f)) + 1;
  if (side < 3) return;
  for (int i = 0; i < 2; ++i) cv::blur(mask, mask, cv::Size(side, side), cv::Point(-1, -1), cv::BORDER_CONSTANT);
}

// The frame's part around the points, with a margin; begins on even pixels. May be empty.
cv::Rect Around(const std::vector<FramePoint> &outline, float margin, const cv::Size &frame) {
  const PointBounds bounds = BoundsOf(outline);
  const auto within = [](float place, int most) {
    return static_cast<int>(std::clamp(place, 0.0f, static_cast<float>(most)));
  };
  const int x = within(bounds.left - margin, frame.width) & ~1;
  const int y = within(bounds.top - margin, frame.height) & ~1;
  return {x, y, within(bounds.right + margin + 1.0f, frame.width) - x,
          within(bounds.bottom + margin + 1.0f, frame.height) - y};
}

// The upper lid's edge from the outer corner to the inner one, and the brow's lower edge likewise.
struct EyeEdge {
  EyeEdge(const Face &face, bool left) {
    for (size_t i = 0; i < kLidPoints; ++i) {
      const float part = static_cast<float>(i) / (kLidPoints - 1);
      lid[i] = face.points[left ? tessera::kLeftUpperLid.first + i : tessera::kRightUpperLid.last - i];
      const float along = 3.0f * (left ? 1.0f - part : part);  // of its four points
      const size_t first = std::min(static_cast<size_t>(along), size_t{2});
      const size_t brows = left ? tessera::kLeftBrowLower.first : tessera::kRightBrowLower.first;
      brow[i] = Between(face.points[brows + first], face.points[brows + first + 1], along - static_cast<float>(first));
    }
    const float length = std::max(std::hypot(lid[0].x - lid[6].x, lid[0].y - lid[6].y), 1.0f);
    outwards = {(lid[0].x - lid[6].x) / length, (lid[0].y - lid[6].y) / length};
  }

  std::array<FramePoint, kLidPoints> lid;
  std::array<FramePoint, kLidPoints> brow;
  FramePoint outwards;  // of length 1
};

}  // namespace

const std::vector<PaintMask> &FacePaint::Draw(const Face &face, MakeupPart part, const cv::Size &frame) {
  frame_ = frame;
  masks_.clear();
  if (part == MakeupPart::kLips) {
    DrawLips(face);
    return masks_;
  }
  for (const Side side : {Side::kLeft, Side::kRight}) {
    if (part == MakeupPart::kBlush) DrawBlush(face, side);
    if (part == MakeupPart::kShadow) DrawShadow(face, side);
    if (part == MakeupPart::kLiner) DrawLiner(face, side);
    if (part == MakeupPart::kBrows) DrawBrow(face, side);
  }
  return masks_;
}

// Closed lips touch, and what the points leave between them is lip.
void FacePaint::DrawLips(const Face &face) {
  const float unit = face.eye_distance;
  PaintMask *mask = Fill(PointsOf(face, tessera::kMouthOuter), kLipSoft * unit);
  if (!mask) return;
  const FramePoint &upper = face.At(FaceAnchor::kUpperLipInner);
  const FramePoint &lower = face.At(FaceAnchor::kLowerLipInner);
  const float gap = std::hypot(upper.x - lower.x, upper.y - lower.y) / unit;
  const tessera::PointRange inner{tessera::kUpperLipInner.first, tessera::kLowerLipInner.last};
  Cut(*mask, PointsOf(face, inner), kInnerLipSoft * unit, Smoothstep(kClosedGap, kOpenGap, gap));
}

// An ellipse that lies along the cheekbone and is as long as the cheek is seen.
void FacePaint::DrawBlush(const Face &face, Side side) {
  const bool left = side == Side::kLeft;
  const FramePoint &wing = face.points[left ? tessera::kNoseLeftWing : tessera::kNoseRightWing];
  const FramePoint &edge = face.points[left ? tessera::kContourLeft + 2 : tessera::kContourRight - 2];
  const FramePoint middle = Between(wing, edge, kBlushMiddle);
  const FramePoint along{kBlushHalfLength * (edge.x - wing.x), kBlushHalfLength * (edge.y - wing.y)};
  const float high = kBlushHalfHeight * face.eye_distance;
  const FramePoint down{face.down.x * high, face.down.y * high};
  const float area = along.x * down.y - along.y * down.x;
  if (!(std::fabs(area) >= 1.0f)) return;
  const float half_x = std::fabs(along.x) + std::fabs(down.x);
  const float half_y = std::fabs(along.y) + std::fabs(down.y);
  const cv::Rect place =
      Around({{middle.x - half_x, middle.y - half_y}, {middle.x + half_x, middle.y + half_y}}, 0.0f, frame_);
  if (place.width <= 0 || place.height <= 0) return;
  PaintMask mask{place, cv::Mat(place.size(), CV_8U)};
  for (int row = 0; row < place.height; ++row) {
    uint8_t *covered = mask.covered.ptr<uint8_t>(row);
    const float y = static_cast<float>(place.y + row) + 0.5f - middle.y;
    for (int column = 0; column < place.width; ++column) {
      const float x = static_cast<float>(place.x + column) + 0.5f - middle.x;
      const float u = (x * down.y - y * down.x) / area;
      const float v = (y * along.x - x * along.y) / area;
      const float rest = std::max(1.0f - u * u - v * v, 0.0f);
      covered[column] = static_cast<uint8_t>(255.0f * rest * rest + 0.5f);
    }
  }
  masks_.push_back(std::move(mask));
}

void FacePaint::DrawShadow(const Face &face, Side side) {
  const EyeEdge edge(face, side == Side::kLeft);
  const float unit = face.eye_distance;
  Outline outline(edge.lid.begin(), edge.lid.end());
  for (size_t i = kLidPoints; i-- > 0;) outline.push_back(Between(edge.lid[i], edge.brow[i], kShadowHeight));
  outline.front() = Add(outline.front(), edge.outwards, kShadowBeside * unit);
  outline.back() = Add(outline.back(), edge.outwards, kShadowBeside * unit);
  PaintMask *mask = Fill(outline, kShadowSoft * unit);
  if (!mask) return;
  Cut(*mask, PointsOf(face, side == Side::kLeft ? tessera::kLeftEye : tessera::kRightEye), kLidSoft * unit, 1.0f);
}

void FacePaint::DrawLiner(const Face &face, Side side) {
  const EyeEdge edge(face, side == Side::kLeft);
  const float unit = face.eye_distance;
  Outline outline = {Add(Add(edge.lid[0], edge.outwards, kLinerWing * unit), face.down, -kLinerOuter * unit)};
  outline.insert(outline.end(), edge.lid.begin(), edge.lid.end());
  for (size_t i = kLidPoints; i-- > 0;) {
    const float part = static_cast<float>(i) / (kLidPoints - 1);
    outline.push_back(Add(edge.lid[i], face.down, -(kLinerOuter + (kLinerInner - kLinerOuter) * part) * unit));
  }
  Fill(outline, kLinerSoft * unit);
}

void FacePaint::DrawBrow(const Face &face, Side side) {
  Fill(PointsOf(face, side == Side::kLeft ? tessera::kLeftBrow : tessera::kRightBrow), kBrowSoft * face.eye_distance);
}

PaintMask *FacePaint::Fill(const Outline &outline, float soft) {
  const cv::Rect place = Around(outline, soft + 2.0f, frame_);
  if (place.width <= 0 || place.height <= 0) return nullptr;
  PaintMask mask{place, cv::Mat::zeros(place.size(), CV_8U)};
  FillOutline(mask.covered, outline, place.tl());
  Soften(mask.covered, soft);
  masks_.push_back(std::move(mask));
  return &masks_.back();
}

void FacePaint::Cut(PaintMask &mask, const Outline &outline, float soft, float part) {
  if (part <= 0.0f) return;
  cut_.create(mask.place.size(), CV_8U);
  cut_.setTo(0);
  FillOutline(cut_, outline, mask.place.tl());
  Soften(cut_, soft);
  const auto scaled = static_cast<int>(part * 256.0f);
  for (int row = 0; row < cut_.rows; ++row) {
    uint8_t *covered = mask.covered.ptr<uint8_t>(row);
    const uint8_t *cut = cut_.ptr<uint8_t>(row);
    for (int x = 0; x < cut_.cols; ++x)
      covered[x] = static_cast<uint8_t>(covered[x] * (255 * 256 - cut[x] * scaled) / (255 * 256));
  }
}

}  // namespace lumivex
