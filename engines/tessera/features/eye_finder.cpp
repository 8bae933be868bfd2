#include "features/eye_finder.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "features/eye_whites.h"
#include "features/far_eye.h"
#include "features/head_turn.h"
#include "features/iris.h"

namespace tessera {
namespace {

// Pixels per unit: enough for the cascade, and for the edge of an iris.
constexpr float kCascadeDensity = 36;
constexpr float kIrisDensity = 52;
const cv::Rect2f kWindow(-1.1F, -0.65F, 2.2F, 1.3F);

const cv::Point2f kUsualLeft(-0.5F, 0);
const cv::Point2f kUsualRight(0.5F, 0);
constexpr int kLeastBox = 17;  // of an eye with its lids, pixels in the cascade's patch
constexpr int kMostBox = 34;

constexpr float kIrisRadius = 0.095F;  // 6 mm
constexpr float kPupilReach = 0.16F;   // from the middle of the cascade's box
constexpr float kReachBetweenWhites = 0.08F;

// A head that is turned by more than that has a far eye, which is found closer to where it is when looked for again.
constexpr float kTurned = 0.1F;  // tangent
constexpr int kLooksAtFarEye = 2;
constexpr double kDarkSkin = 90;  // luma code

constexpr float kPartOfNearer = 0.85F;  // a place nearer to the other eye than usual must be so much clearer

// Beyond these the eyes found are not those of the face looked at.
constexpr float kMostShift = 0.35F;  // units
constexpr float kMostScale = 1.35F;
constexpr float kMostTurn = 0.45F;  // radians

struct Pupil {
  cv::Point2f place;  // units of the expected placement
  float score = 0;
};

cv::Point2f ToUnits(cv::Point2f pixel, float density) {
  return (pixel + cv::Point2f(0.5F, 0.5F)) * (1 / density) + kWindow.tl();
}

cv::Point2f ToPixels(cv::Point2f point, float density) {
  return (point - kWindow.tl()) * density - cv::Point2f(0.5F, 0.5F);
}

bool Plausible(const Placement &found, const Placement &expected) {
  const cv::Point2f shift = expected.FromPicture(found.origin);
  const float scale = found.unit / expected.unit;
  return std::hypot(shift.x, shift.y) < kMostShift && scale < kMostScale && scale > 1 / kMostScale &&
         std::abs(found.angle - expected.angle) < kMostTurn;
}

// The placement by these pupils. In dark skin the far eye's edges are faint: it is where it looks as the nearer one.
// `cut` is the upright patch of `expected`, in whose units they are.
Placement PlacementByPupils(const cv::Mat &luma, const cv::Mat &cut, const Placement &expected, cv::Point2f left,
                            cv::Point2f right) {
  const auto placement = [&] { return PlacementOfEyes(expected.ToPicture(left), expected.ToPicture(right)); };
  if (MedianCode(cut) >= kDarkSkin) return placement();
  for (int look = 0; look < kLooksAtFarEye; ++look) {
    const float tangent = FindTurn(luma, placement()).tangent;
    if (std::abs(tangent) <= kTurned) break;
    cv::Point2f &far = tangent > 0 ? right : left;
    const cv::Point2f near = tangent > 0 ? left : right;
    const auto found = FindFarEye(cut, ToPixels(near, kCascadeDensity), ToPixels(far, kCascadeDensity), tangent);
    if (!found) break;
    far = ToUnits(*found, kCascadeDensity);
  }
  return placement();
}

}  // namespace

std::string EyeFinder::Load(const std::string &file) {
  return cascade_.Load(file);
}

std::optional<cv::Point2f> EyeFinder::CascadeEye(const cv::Mat &patch, bool right) {
  if (cascade_.empty()) return std::nullopt;
  const int middle = patch.cols / 2;
  const cv::Rect half =
      right ? cv::Rect(middle, 0, patch.cols - middle, patch.rows) : cv::Rect(0, 0, middle, patch.rows);
  std::optional<cv::Point2f> best;
  float best_score = 0;
  for (const VotedBox &found : cascade_.Find(patch(half), 1.15, 2, kLeastBox, kMostBox)) {
    const cv::Rect box = found.box + half.tl();
    const cv::Point2f pixel(static_cast<float>(box.x) + 0.5F * static_cast<float>(box.width - 1),
                            static_cast<float>(box.y) + 0.5F * static_cast<float>(box.height - 1));
    const cv::Point2f place = ToUnits(pixel, kCascadeDensity);
    const cv::Point2f off = place - (right ? kUsualRight : kUsualLeft);
    const float away = std::hypot(off.x, off.y);
    const float score = static_cast<float>(std::min(found.votes, 12)) * std::exp(-away * away / (2 * 0.2F * 0.2F));
    if (away > 0.45F || score <= best_score) continue;
    best = place;
    best_score = score;
  }
  return best;
}

Eyes EyeFinder::FindOnce(const cv::Mat &luma, const Placement &expected) {
  const cv::Mat cut = CutUpright(luma, expected, kWindow, kCascadeDensity);
  const cv::Mat coarse = Lit(cut);
  std::optional<cv::Point2f> left = CascadeEye(coarse, false);
  std::optional<cv::Point2f> right = CascadeEye(coarse, true);
  const auto whites = FindEyesByWhites(cut, ToPixels(kUsualLeft, kCascadeDensity),
                                       ToPixels(kUsualRight, kCascadeDensity), kCascadeDensity);
  if (whites) {  // also where the cascade saw two: in dark skin brows look like eyes to it
    left = ToUnits(whites->left, kCascadeDensity);
    right = ToUnits(whites->right, kCascadeDensity);
  } else if ((!left || !right) && IsDark(cut)) {
    const cv::Mat evened = Evened(cut, 4, 1);
    if (!left) left = CascadeEye(evened, false);
    if (!right) right = CascadeEye(evened, true);
  }
  // An eye that was not seen stands as far beside its usual place as the other one, mirrored in part.
  const auto start = [](const std::optional<cv::Point2f> &seen, cv::Point2f usual,
                        const std::optional<cv::Point2f> &other, cv::Point2f other_usual) {
    if (seen) return *seen;
    if (!other) return usual;
    const cv::Point2f off = *other - other_usual;
    return usual + cv::Point2f(off.x * 0.5F, off.y);
  };
  const cv::Mat fine_cut = CutUpright(luma, expected, kWindow, kIrisDensity);
  const cv::Mat fine = Lit(fine_cut);
  const float reach = whites ? kReachBetweenWhites : kPupilReach;
  const auto pupil = [&](cv::Point2f from) {
    auto iris = FindIris(fine, ToPixels(from, kIrisDensity), reach * kIrisDensity, kIrisRadius * kIrisDensity);
    if (!iris) return Pupil{from, 0};
    iris->place.y = MiddleOfWhites(fine_cut, iris->place, kIrisDensity).value_or(iris->place.y);
    return Pupil{ToUnits(iris->place, kIrisDensity), iris->score};
  };
  // In a head that turns aside the far eye comes nearer to the other one.
  const auto unseen = [&pupil](cv::Point2f usual, const std::optional<cv::Point2f> &other) {
    Pupil best = pupil(usual);
    if (!other) return best;
    for (const float part : {0.84F, 0.7F}) {
      Pupil nearer = pupil(*other + (usual - *other) * part);
      nearer.score *= kPartOfNearer;
      if (nearer.score > best.score) best = nearer;
    }
    return best;
  };
  const Pupil left_pupil = left ? pupil(*left) : unseen(start(left, kUsualLeft, right, kUsualRight), right);
  const Pupil right_pupil = right ? pupil(*right) : unseen(start(right, kUsualRight, left, kUsualLeft), left);
  Eyes eyes;
  eyes.seen = (left ? 1 : 0) + (right ? 1 : 0);
  eyes.placement = PlacementByPupils(luma, cut, expected, left_pupil.place, right_pupil.place);
  if (!Plausible(eyes.placement, expected)) return {expected, 0};
  return eyes;
}

Eyes EyeFinder::Find(const cv::Mat &luma, const Placement &expected) {
  const Eyes first = FindOnce(luma, expected);
  if (first.seen == 0) return first;
  const float turn = std::abs(first.placement.angle - expected.angle);
  const float scale = first.placement.unit / expected.unit;
  const bool upright = turn < 0.1F && scale < 1.2F && scale > 1 / 1.2F;
  if (upright || (first.seen == 2 && turn < 0.25F)) return first;
  const Eyes second = FindOnce(luma, first.placement);  // now upright, as the cascade likes it
  return second.seen >= first.seen ? second : first;
}

}  // namespace tessera
