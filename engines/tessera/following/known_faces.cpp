#include "following/known_faces.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "following/feature_smoothing.h"
#include "following/patch_follower.h"
#include "shape/shape_fit.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

constexpr float kBadCorrelation = 0.45F;
constexpr int kMostBadPictures = 4;  // the fifth drops it
constexpr int kShownBadPictures = 3;
constexpr int kMostPicturesAway = 4;
constexpr int kMostMissedLooks = 5;
constexpr int kMostMissedLooksOfADoubtful = 2;

constexpr float kDrawnStep = 0.15F;  // of the way to the template, for each picture
constexpr float kLeastStep = 0.02F;  // units: a slower face is expected where it was
constexpr float kMiddle = 0.4F;      // of a face, units below the eyes

constexpr float kMostShownTangent = 0.85F;   // of a head that is turned farther the points would be wrong
constexpr float kLeastShownTangent = 0.75F;  // of one that is hidden until it turns back

// A head that is turned clearly, but not surely so far: its nose may be told far off.
constexpr float kClearTangent = 0.3F;
constexpr float kUnsureTurn = 0.5F;        // confidence
constexpr float kSureTurnOfHidden = 0.6F;  // likewise

// The far eye of a head that turns aside goes out of sight, and something else is taken for it.
bool FarEyeIsGone(const Features &face) {
  constexpr float kSeen = 0.5F;
  constexpr float kGonePart = 0.5F;  // of what the other eye shows
  constexpr float kTurned = 0.12F;   // tangent
  constexpr float kUnlike = 0.75F;   // confidence: nose and mouth are not those of a face from the front
  constexpr float kWhite = 0.5F;
  if (std::min(face.lids[0].white, face.lids[1].white) > kWhite) return false;
  const float left = face.eye_corners[0].confidence;
  const float right = face.eye_corners[1].confidence;
  if (std::max(left, right) < kSeen || std::min(left, right) > kGonePart * std::max(left, right)) return false;
  return std::abs(face.turn.tangent) > kTurned || face.turn.confidence < kUnlike;
}

// Whoever trained a network for faces knows which of them it should see.
bool IsTurnedAway(const KnownFace &face) {
  if (face.trained) return false;
  const float most = face.turned_away ? kLeastShownTangent : kMostShownTangent;
  const float least = face.turned_away ? kSureTurnOfHidden : kUnsureTurn;
  const float aside = std::abs(face.features.turn.tangent);
  const bool unsure = aside > kClearTangent && face.features.turn.confidence < least;
  return aside > most || unsure || FarEyeIsGone(face.features);
}

bool MiddleIsInside(const Placement &face, cv::Size picture) {
  const cv::Point2f middle = face.ToPicture({0, kMiddle});
  return middle.x >= 0 && middle.y >= 0 && middle.x < static_cast<float>(picture.width) &&
         middle.y < static_cast<float>(picture.height);
}

cv::Rect2d ExpandedBox(const std::vector<cv::Point2f> &points, float unit, cv::Size size) {
  float left = points[0].x;
  float right = left;
  float top = points[0].y;
  float bottom = top;
  for (const cv::Point2f &point : points) {
    left = std::min(left, point.x);
    right = std::max(right, point.x);
    top = std::min(top, point.y);
    bottom = std::max(bottom, point.y);
  }
  const float margin = 0.25F * unit;
  const float forehead = 0.6F * unit;  // above the brows
  const cv::Rect2d box(left - margin, top - forehead, right - left + 2 * margin, bottom - top + forehead + margin);
  return box & cv::Rect2d(0, 0, size.width, size.height);
}

// Where it is expected: a face that moves goes on as it did.
Placement Expected(const KnownFace &face) {
  Placement place = face.placement;
  if (std::hypot(face.step.x, face.step.y) > kLeastStep) place.origin += face.step * place.unit;
  return place;
}

void FollowOne(KnownFace &face, const PictureView &picture) {
  Followed found = tessera::Follow(picture.y, *face.face, Expected(face));
  if (found.correlation < kBadCorrelation && (face.step.x != 0 || face.step.y != 0)) {  // it may have stopped, too
    const Followed still = tessera::Follow(picture.y, *face.face, face.placement);
    if (still.correlation > found.correlation) found = still;
  }
  face.correlation = found.correlation;
  if (found.correlation < kBadCorrelation) {
    ++face.bad_pictures;
    face.step = {0, 0};
    return;
  }
  face.bad_pictures = 0;
  face.step = (found.placement.origin - face.placement.origin) * (1 / face.placement.unit);
  face.placement = found.placement;
  face.drawn = PartOf(face.drawn, 1 - kDrawnStep);
  face.own_shape.Step();
  face.pictures_away = MiddleIsInside(face.placement, picture.y.size()) ? 0 : face.pictures_away + 1;
}

}  // namespace

bool Overlap(const Placement &a, const Placement &b) {
  const cv::Point2f apart = a.origin - b.origin;
  return std::hypot(apart.x, apart.y) < 1.2F * std::max(a.unit, b.unit);
}

void KnownFaces::KeepAtMost(size_t faces) {
  if (faces_.size() > faces) faces_.resize(faces);
}

KnownFace *KnownFaces::Find(uint32_t id) {
  const auto face = std::find_if(faces_.begin(), faces_.end(), [id](const KnownFace &f) { return f.id == id; });
  return face == faces_.end() ? nullptr : &*face;
}

void KnownFaces::Follow(const PictureView &picture) {
  std::vector<KnownFace> kept;
  for (KnownFace &face : faces_) {
    FollowOne(face, picture);
    if (face.bad_pictures > kMostBadPictures || face.pictures_away > kMostPicturesAway) continue;
    // Two that follow one face: the one that was there first stays.
    const bool known = std::any_of(
        kept.begin(), kept.end(), [&face](const KnownFace &other) { return Overlap(other.placement, face.placement); });
    if (!known) kept.push_back(std::move(face));
  }
  faces_ = std::move(kept);
}

void KnownFaces::Confirm(uint32_t id, const Placement &correction, std::shared_ptr<const FaceTemplate> face, double now,
                         const std::vector<cv::Point2f> &points) {
  KnownFace *known = Find(id);
  if (!known) return;
  known->missed_looks = 0;
  known->confirmed = now;
  if (!face) return;
  known->placement = Composed(known->placement, correction);
  known->drawn = Relative(correction, known->drawn);
  known->step *= 1 / correction.unit;
  known->face = std::move(face);
  known->own_shape.Told(points, known->features);
}

bool KnownFaces::Miss(uint32_t id) {
  KnownFace *face = Find(id);
  if (!face) return false;
  ++face->missed_looks;
  const int most = face->correlation < kSureCorrelation ? kMostMissedLooksOfADoubtful : kMostMissedLooks;
  if (face->missed_looks <= most) return true;
  Drop(id);
  return false;
}

void KnownFaces::Drop(uint32_t id) {
  faces_.erase(std::remove_if(faces_.begin(), faces_.end(), [id](const KnownFace &face) { return face.id == id; }),
               faces_.end());
}

bool KnownFaces::Add(const NewFace &face, double now) {
  const bool known = std::any_of(faces_.begin(), faces_.end(),
                                 [&face](const KnownFace &other) { return Overlap(other.placement, face.placement); });
  if (known) return false;
  KnownFace added;
  added.id = ++last_id_;
  added.placement = face.placement;
  added.drawn = SamePlacement();
  added.face = face.face;
  added.features = face.features;
  added.own_shape.Told(face.points, face.features);
  added.confirmed = now;
  added.trained = face.trained;
  added.turned_away = IsTurnedAway(added);
  added.features_turn = features_turn_;
  faces_.push_back(std::move(added));
  return true;
}

void KnownFaces::DropUnconfirmed(double now) {
  const auto drop = [now](const KnownFace &face) {
    const double unseen = now - face.confirmed;
    return unseen > kLongestUnsought || (unseen > kLongestUnseen && face.missed_looks > 0);
  };
  faces_.erase(std::remove_if(faces_.begin(), faces_.end(), drop), faces_.end());
}

KnownFace *KnownFaces::NextForFeatures() {
  const auto largest = std::max_element(faces_.begin(), faces_.end(), [](const KnownFace &a, const KnownFace &b) {
    return a.placement.unit < b.placement.unit;
  });
  if (largest == faces_.end() || largest->features_turn + 2 <= features_turn_) {
    return largest == faces_.end() ? nullptr : &*largest;
  }
  return &*std::min_element(faces_.begin(), faces_.end(),
                            [](const KnownFace &a, const KnownFace &b) { return a.features_turn < b.features_turn; });
}

void KnownFaces::FindFeatures(const PictureView &picture, size_t faces) {
  for (size_t i = 0; i < std::min(faces, faces_.size()); ++i) {
    ++features_turn_;
    KnownFace *face = NextForFeatures();
    face->features_turn = features_turn_;
    if (face->bad_pictures > 0) continue;
    const Placement place = face->Drawn();
    Turn turn = face->features.turn;
    Smooth(turn, FindTurn(picture.y, place));
    Smooth(face->features, tessera::FindFeatures(picture, place, turn));
    face->turned_away = IsTurnedAway(*face);
  }
}

std::vector<FoundFace> KnownFaces::Shown(cv::Size size, float scale) const {
  std::vector<FoundFace> shown;
  for (const KnownFace &known : faces_) {
    const Placement place = Scaled(known.Drawn(), scale);
    if (known.bad_pictures > kShownBadPictures || !MiddleIsInside(place, size)) continue;
    if (known.turned_away) continue;
    FoundFace face;
    face.points = FitShape(place, known.features);
    known.own_shape.Apply(place, face.points);
    face.box = ExpandedBox(face.points, place.unit, size);
    face.confidence = Clamped01((known.correlation - kBadCorrelation) / (kSureCorrelation - kBadCorrelation));
    face.mouth_open = MouthOpening(known.features.mouth);
    face.mouth_confidence = std::max(known.features.mouth.lips_confidence, known.features.mouth.gap_confidence);
    for (size_t side = 0; side < 2; ++side) {
      face.eyes_open[side] = known.features.lids[side].open;
      face.eyes_confidence[side] = known.features.lids[side].confidence;
    }
    shown.push_back(std::move(face));
  }
  return shown;
}

}  // namespace tessera
