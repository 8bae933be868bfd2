#include "following/patch_follower.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#include <vector>

#include "following/similarity.h"
#include "vision/serially.h"

namespace tessera {
namespace {

constexpr float kSame = 0.985F;        // correlation above which a second round changes nothing that can be seen
constexpr float kMostReturn = 0.8F;    // pixels of the patch: there and back again a point must end where it began
constexpr float kClose = 0.5F;         // likewise: a point that goes so nearly as the face need not go back
constexpr float kEnoughClose = 0.75F;  // part of the points; where fewer are, all go back
constexpr size_t kFewestPoints = 8;
// Above that correlation the face is a few pixels of the patch away at most: two levels of the pyramid reach that far.
constexpr float kNear = 0.9F;
constexpr int kLevelsWhenNear = 1;
// A move below which a second round changes nothing, either. Of the distance between the eyes, its length and radians.
constexpr float kSmallMove = 0.01F;
constexpr float kMostScale = 1.5F;  // from picture to picture
constexpr float kMostTurn = 0.6F;   // radians

// One cut-out of the picture at the expected place, as bright as the template.
struct Look {
  cv::Mat patch;
  float correlation = 0;
};

Look LookAt(const cv::Mat &luma, const FaceTemplate &face, const Placement &place) {
  Look look;
  const cv::Mat cut = CutPatch(luma, place);
  const Lighting light = LightingOf(cut);
  if (light.spread < 0.5F) return look;
  const double gain = static_cast<double>(face.light.spread / light.spread);
  cut.convertTo(look.patch, CV_8U, gain, static_cast<double>(face.light.mean) - gain * static_cast<double>(light.mean));
  look.correlation = Correlation(face, cut, light);
  return look;
}

cv::Point2f ToUnits(cv::Point2f pixel) {
  return (pixel + cv::Point2f(0.5F, 0.5F)) * (1 / kPatchDensity) + kPatchWindow.tl();
}

// The template's points that the picture shows. Beyond its edge the patch only goes on as that is.
std::vector<cv::Point2f> PointsInside(const FaceTemplate &face, const Placement &place, cv::Size picture) {
  const cv::Rect2f inside(0, 0, static_cast<float>(picture.width - 1), static_cast<float>(picture.height - 1));
  std::vector<cv::Point2f> points;
  for (const cv::Point2f &point : face.points) {
    if (inside.contains(place.ToPicture(ToUnits(point)))) points.push_back(point);
  }
  return points;
}

// Points of the template and where they are in the patch, units.
struct Tracks {
  std::vector<cv::Point2f> from;
  std::vector<cv::Point2f> to;

  void Add(cv::Point2f pixel, cv::Point2f there) {
    from.push_back(ToUnits(pixel));
    to.push_back(ToUnits(there));
  }
};

bool MostGoWith(const Placement &moved, const Tracks &tracks, size_t points) {
  size_t close = 0;
  for (size_t i = 0; i < tracks.from.size(); ++i) {
    const cv::Point2f off = moved.ToPicture(tracks.from[i]) - tracks.to[i];
    close += off.dot(off) < kClose * kClose / (kPatchDensity * kPatchDensity);
  }
  return static_cast<float>(close) >= kEnoughClose * static_cast<float>(points);
}

// Where the template's frame stands in that of the patch.
std::optional<Placement> Flow(const FaceTemplate &face, const cv::Mat &patch, const std::vector<cv::Point2f> &points,
                              int levels) {
  if (points.size() < kFewestPoints) return std::nullopt;
  const cv::Size window(kFlowWindow, kFlowWindow);
  const cv::TermCriteria enough(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 20, 0.01);
  std::vector<cv::Mat> pyramid;
  std::vector<cv::Point2f> there;
  std::vector<unsigned char> found;
  cv::buildOpticalFlowPyramid(patch, pyramid, window, levels, false);
  cv::calcOpticalFlowPyrLK(face.pyramid, pyramid, points, there, found, cv::noArray(), window, levels, enough);
  Tracks all;
  for (size_t i = 0; i < points.size(); ++i) {
    if (found[i]) all.Add(points[i], there[i]);
  }
  std::optional<Placement> moved = FitSimilarity(all.from, all.to, kFewestPoints);
  if (!moved || !MostGoWith(*moved, all, points.size())) {
    std::vector<cv::Point2f> back = points;  // the way back begins near its end
    std::vector<unsigned char> found_back;
    cv::calcOpticalFlowPyrLK(pyramid, face.pyramid, there, back, found_back, cv::noArray(), window, 0, enough,
                             cv::OPTFLOW_USE_INITIAL_FLOW);
    Tracks sure;
    for (size_t i = 0; i < points.size(); ++i) {
      const cv::Point2f off = back[i] - points[i];
      if (found[i] && found_back[i] && std::hypot(off.x, off.y) <= kMostReturn) sure.Add(points[i], there[i]);
    }
    moved = FitSimilarity(sure.from, sure.to, kFewestPoints);
  }
  if (!moved || moved->unit > kMostScale || moved->unit < 1 / kMostScale || std::abs(moved->angle) > kMostTurn) {
    return std::nullopt;
  }
  return moved;
}

bool IsSmall(const Placement &move) {
  return std::max({std::abs(move.origin.x), std::abs(move.origin.y), std::abs(move.unit - 1), std::abs(move.angle)}) <
         kSmallMove;
}

}  // namespace

Followed Follow(const cv::Mat &luma, const FaceTemplate &face, const Placement &expected) {
  Followed best{expected, 0};
  Serially([&] {
    Placement place = expected;
    for (int round = 0; round < 2; ++round) {
      const Look look = LookAt(luma, face, place);
      if (look.patch.empty()) return;
      const bool better = round == 0 || look.correlation > best.correlation;
      if (better) best = {place, look.correlation};
      const int levels = look.correlation > kNear ? kLevelsWhenNear : kFlowLevels;
      const std::optional<Placement> moved = Flow(face, look.patch, PointsInside(face, place, luma.size()), levels);
      if (!moved) return;
      place = Composed(place, *moved);
      if (better && (look.correlation > kSame || (look.correlation > kNear && IsSmall(*moved)))) {
        best.placement = place;
        return;
      }
    }
    const Look last = LookAt(luma, face, place);
    if (last.correlation >= best.correlation) best = {place, last.correlation};
  });
  return best;
}

}  // namespace tessera
