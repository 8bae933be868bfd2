#include "shape/shape_fit.h"

#include <algorithm>
#include <cmath>

#include "features/face_depth.h"
#include "shape/mean_shape.h"
#include "tessera/point_layout.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

bool In(const PointRange &range, size_t point) {
  return point >= range.first && point <= range.last;
}

constexpr float kLeastGap = 0.01F;  // between the inner edges of closed lips, units

// The mouth to be drawn, in units: corners, and heights on its middle line.
struct MouthShape {
  cv::Point2f left;
  cv::Point2f right;
  float upper_top = 0;
  float upper_bottom = 0;
  float lower_top = 0;
  float lower_bottom = 0;
};

MouthShape ShapeOf(const std::vector<cv::Point2f> &mean, const Mouth &mouth) {
  MouthShape shape;
  const auto corner = [&mouth](cv::Point2f usual, cv::Point2f found) {
    return usual + (found - usual) * mouth.confidence;
  };
  shape.left = corner(mean[kMouthLeftCorner], mouth.left);
  shape.right = corner(mean[kMouthRightCorner], mouth.right);
  const float usual_line = mean[kMouthLeftCorner].y;
  const float line = Mixed(usual_line, mouth.line, mouth.confidence);
  const float upper_usual = mean[kUpperLipMiddle].y - usual_line;
  const float lower_usual = mean[kLowerLipMiddle].y - usual_line;
  const float upper = mean[kUpperLipMiddle].y - mean[kUpperLipTop].y;  // thickness
  const float lower = mean[kLowerLipBottom].y - mean[kLowerLipMiddle].y;
  const float open = mouth.gap_confidence;
  shape.upper_bottom = Mixed(line + upper_usual, mouth.gap_top, open);
  shape.lower_top = std::max(shape.upper_bottom + kLeastGap, Mixed(line + lower_usual, mouth.gap_bottom, open));
  shape.upper_top = Mixed(shape.upper_bottom - upper, mouth.top, mouth.lips_confidence);
  shape.lower_bottom = Mixed(shape.lower_top + lower, mouth.bottom, mouth.lips_confidence);
  shape.upper_top = std::min(shape.upper_top, shape.upper_bottom - 0.3F * upper);
  shape.lower_bottom = std::max(shape.lower_bottom, shape.lower_top + 0.3F * lower);
  return shape;
}

// A point of the mean mouth, moved: along the line between the corners, and from it as the heights in the middle say.
cv::Point2f MouthPoint(const std::vector<cv::Point2f> &mean, size_t point, const MouthShape &shape) {
  const cv::Point2f usual_left = mean[kMouthLeftCorner];
  const cv::Point2f usual_right = mean[kMouthRightCorner];
  const float across = (mean[point].x - usual_left.x) / (usual_right.x - usual_left.x);
  const cv::Point2f on_line = shape.left + (shape.right - shape.left) * across;
  size_t middle = kUpperLipTop;
  float found = shape.upper_top;
  if (In(kLowerLipOuter, point)) {
    middle = kLowerLipBottom;
    found = shape.lower_bottom;
  } else if (In(kUpperLipInner, point)) {
    middle = kUpperLipMiddle;
    found = shape.upper_bottom;
  } else if (In(kLowerLipInner, point)) {
    middle = kLowerLipMiddle;
    found = shape.lower_top;
  }
  // Between the corners every edge is an arch; its own bends (the bow of the upper lip) stay.
  const float arch = 1 - std::pow(std::abs(2 * across - 1), 2.2F);
  const float line_middle = (shape.left.y + shape.right.y) * 0.5F;
  const float usual_arch = (mean[middle].y - usual_left.y) * arch;
  const float own = mean[point].y - usual_left.y - usual_arch;
  return {on_line.x, on_line.y + (found - line_middle) * arch + own};
}

// Where lids meet in the middle of a closed eye: nearly all of the way is the upper one's.
constexpr float kClosedLid = 0.07F;

// An eye is stretched from its pupil to the outer corner, and its lids come together as far as they are closed.
cv::Point2f EyePoint(const std::vector<cv::Point2f> &mean, size_t point, const EyeCorner &corner, const Lids &lids) {
  const float side = mean[point].x < 0 ? -1.0F : 1.0F;
  const float pupil = mean[kRightPupil].x;
  const float inner = mean[kRightEyeInnerCorner].x;
  const float outer = mean[kRightEyeOuterCorner].x;
  const float usual_x = mean[point].x * side;
  // On the line of a closed eye, which hangs between its corners.
  const float across = Clamped01((usual_x - inner) / (outer - inner));
  const float ends = Mixed(mean[kRightEyeInnerCorner].y, mean[kRightEyeOuterCorner].y, across);
  const float closed = ends + (kClosedLid - ends) * 4 * across * (1 - across);
  const float y = Mixed(mean[point].y, closed, (1 - lids.open) * lids.confidence);
  const float from_pupil = usual_x - pupil;
  if (from_pupil <= 0) return {mean[point].x, y};
  const float stretched = from_pupil * Mixed(outer - pupil, corner.x - pupil, corner.confidence) / (outer - pupil);
  return {side * (pupil + stretched), y};
}

// The edge of the face is another place of the head when that turns: it does not go as far. On the side that turns away
// from the camera it goes farther once the cheek hides what lay there.
constexpr float kEdge = -0.4F;
constexpr float kFarEdge = -0.8F;

std::vector<float> Depths(const std::vector<cv::Point2f> &shape) {
  std::vector<float> depths;
  for (const cv::Point2f &point : shape) depths.push_back(FaceDepth(point.x, point.y));
  for (size_t i = kLeftPupil; i <= kRightPupil; ++i) depths[i] = 0;
  return depths;
}

constexpr float kMostBrowMove = 0.2F;

// The line along the middle of a brow of the mean shape, as FindBrow tells it.
Brow MeanBrow(const std::vector<cv::Point2f> &mean) {
  const auto height = [&mean](float x) {
    const auto edge = [&](size_t first, size_t last) {  // from the outer end to the inner one, or back
      for (size_t i = first; i < last; ++i) {
        const float from = -mean[i].x;
        const float to = -mean[i + 1].x;
        if (x < std::min(from, to) || x > std::max(from, to)) continue;
        return Mixed(mean[i].y, mean[i + 1].y, (x - from) / (to - from));
      }
      return x < -mean[first].x ? mean[first].y : mean[last].y;
    };
    return (edge(kLeftBrowUpper.first, kLeftBrowUpper.last) + edge(kLeftBrowLower.first, kLeftBrowLower.last)) * 0.5F;
  };
  cv::Matx33f sums = cv::Matx33f::zeros();
  cv::Vec3f heights(0, 0, 0);
  for (float x = kBrowFrom; x <= kBrowTo; x += 0.04F) {
    const float out = x - kBrowMiddle;
    const cv::Vec3f powers(1, out, out * out);
    sums += powers * powers.t();
    heights += height(x) * powers;
  }
  const cv::Vec3f line = sums.solve(heights, cv::DECOMP_LU);
  return {line[0], line[1], line[2], 1};
}

}  // namespace

std::vector<cv::Point2f> FitShape(const Placement &placement, const Features &features) {
  const std::vector<cv::Point2f> &mean = MeanShape();
  const MouthShape mouth = ShapeOf(mean, features.mouth);
  const float mouth_aside = (mouth.left.x + mouth.right.x) * 0.5F;
  // The chin goes with the lower lip when the mouth opens, and in a long face.
  const float chin_down = mouth.lower_top - mean[kLowerLipMiddle].y;

  const float usual_nostrils = mean[kNoseTip].y + 0.07F;
  const float nose_off = std::clamp(features.nose.nostrils.y - usual_nostrils, -0.15F, 0.15F);
  const float nose_down = nose_off * features.nose.confidence;
  // The far nostril goes out of sight when the head turns.
  const float both_nostrils = Clamped01(1 - std::abs(features.turn.tangent) / 0.45F) * features.nose.confidence;
  const float nose_aside = std::clamp(features.nose.nostrils.x, -0.2F, 0.2F) * both_nostrils;
  static const Brow usual_brow = MeanBrow(mean);

  static const std::vector<float> depths = Depths(mean);
  const float turn = features.turn.tangent;
  const float stretch = TurnStretch(turn);
  const float far_edge = Mixed(kEdge, kFarEdge, Clamped01((std::abs(turn) - 0.2F) / 0.15F));

  std::vector<cv::Point2f> points;
  points.reserve(mean.size());
  for (size_t i = 0; i < mean.size(); ++i) {
    cv::Point2f point = mean[i];
    const size_t side = point.x < 0 ? 0 : 1;
    if (In(kMouthOuter, i) || In(kUpperLipInner, i) || In(kLowerLipInner, i)) {
      point = MouthPoint(mean, i, mouth);
    } else if (In(kLeftEye, i) || In(kRightEye, i)) {
      point = EyePoint(mean, i, features.eye_corners[side], features.lids[side]);
    } else if (In(kLeftBrow, i) || In(kRightBrow, i)) {
      const Brow &brow = features.brows[side];
      const float outwards = std::abs(point.x) - kBrowMiddle;
      const float move = brow.At(outwards) - usual_brow.At(outwards);
      point.y += std::clamp(move, -kMostBrowMove, kMostBrowMove) * brow.confidence;
    } else if (In(kNoseSides, i) || In({kNoseRoot, kNoseBase}, i)) {
      const float part = Clamped01(point.y / mean[kNoseTip].y);  // the root stays between the eyes
      point += cv::Point2f(nose_aside, nose_down) * part;
    } else if (In(kContour, i)) {
      const float part = Clamped01(point.y / mean[kChin].y);  // the ends stay beside the eyes
      point += cv::Point2f(mouth_aside * 0.5F, chin_down) * part;
    }
    float depth = depths[i];
    if (In(kContour, i)) depth = std::max(depth, point.x * turn > 0 ? far_edge : kEdge);
    point = {point.x + turn * depth, point.y * stretch};
    points.push_back(placement.ToPicture(point));
  }
  return points;
}

float MouthOpening(const Mouth &mouth) {
  const MouthShape shape = ShapeOf(MeanShape(), mouth);
  return shape.lower_top - shape.upper_bottom;
}

}  // namespace tessera
