#include "following/patch_follower.h"

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <opencv2/video/tracking.hpp>
#include <vector>

#include "following/similarity.h"
#include "vision/serially.h"

namespace tessera {
namespace {

constexpr float kSame = 0.985F;      // correlation above which a second round changes nothing that can be seen
constexpr float kMostReturn = 0.8F;  // pixels of the patch: there and back again a point must end where it began
constexpr size_t kFewestPoints = 8;
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
  // Of the bytes as they are: what was cut off at either end makes no difference that counts.
  cv::Mat a;
  cv::Mat b;
  cv::subtract(face.patch, static_cast<double>(face.light.mean), a, FaceOval(), CV_32F);
  cv::subtract(cut, static_cast<double>(light.mean), b, FaceOval(), CV_32F);
  const double count = cv::countNonZero(FaceOval());
  look.correlation = static_cast<float>(a.dot(b) / count) / (face.light.spread * light.spread);
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

// Where the template's frame stands in that of the patch.
std::optional<Placement> Flow(const FaceTemplate &face, const cv::Mat &patch, const std::vector<cv::Point2f> &points) {
  if (points.size() < kFewestPoints) return std::nullopt;
  const cv::Size window(kFlowWindow, kFlowWindow);
  const cv::TermCriteria enough(cv::TermCriteria::COUNT | cv::TermCriteria::EPS, 20, 0.01);
  std::vector<cv::Mat> pyramid;
  std::vector<cv::Point2f> there;
  std::vector<cv::Point2f> back;
  std::vector<unsigned char> found;
  std::vector<unsigned char> found_back;
  std::vector<float> errors;
  cv::buildOpticalFlowPyramid(patch, pyramid, window, kFlowLevels);
  cv::calcOpticalFlowPyrLK(face.pyramid, pyramid, points, there, found, errors, window, kFlowLevels, enough);
  back = points;  // the way back begins near its end
  cv::calcOpticalFlowPyrLK(pyramid, face.pyramid, there, back, found_back, errors, window, 0, enough,
                           cv::OPTFLOW_USE_INITIAL_FLOW);
  std::vector<cv::Point2f> from;
  std::vector<cv::Point2f> to;
  for (size_t i = 0; i < points.size(); ++i) {
    const cv::Point2f off = back[i] - points[i];
    if (!found[i] || !found_back[i] || std::hypot(off.x, off.y) > kMostReturn) continue;
    from.push_back(ToUnits(points[i]));
    to.push_back(ToUnits(there[i]));
  }
  const std::optional<Placement> moved = FitSimilarity(from, to, kFewestPoints);
  if (!moved || moved->unit > kMostScale || moved->unit < 1 / kMostScale || std::abs(moved->angle) > kMostTurn) {
    return std::nullopt;
  }
  return moved;
}

}  // namespace

Followed Follow(const cv::Mat &luma, const FaceTemplate &face, const Placement &expected) {
  Followed best{expected, 0};
  Serially([&] {
    Placement place = expected;
    for (int round = 0; round < 2; ++round) {
      const Look look = LookAt(luma, face, place);
      if (look.patch.empty()) return;
      if (round == 0 || look.correlation > best.correlation) best = {place, look.correlation};
      const std::optional<Placement> moved = Flow(face, look.patch, PointsInside(face, place, luma.size()));
      if (!moved) return;
      place = Composed(place, *moved);
      if (look.correlation > kSame) {
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
