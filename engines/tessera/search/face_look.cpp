#include "search/face_look.h"

#include <algorithm>
#include <cmath>

#include "features/eyes_alone.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

// The fewer eyes are seen in it, the more votes a box needs to be a face.
constexpr float kVotesWithoutEyes = 16;
constexpr float kVotesWithOneEye = 6;
// Of the places in a texture one or another looks like a face with an eye at one of all the angles.
constexpr float kVotesWithOneEyeTurned = 10;
constexpr float kTurned = 0.2F;  // radians
constexpr float kSureVotes = 6;

// Distances are parts of that between the eyes.
constexpr float kStillPart = 0.3F;
constexpr float kStillMove = 0.015F;
constexpr float kFastMove = 0.10F;
constexpr float kEyesStay = 0.08F;

// Where a face is dark if its eyes alone are to tell it, units, and pixels per unit.
const cv::Rect2f kFace(-1.1F, -0.65F, 2.2F, 2);
constexpr float kFaceDensity = 18;
// What the cascade's box alone tells counts less.
constexpr float kPartOfOneEye = 0.5F;

std::vector<CoarseFace> Coarse(const std::vector<Placement> &faces) {
  std::vector<CoarseFace> coarse;
  for (const Placement &face : faces) coarse.push_back({face, kSureVotes, true});
  return coarse;
}

}  // namespace

CascadeFaults FaceLook::Load(const CascadeFiles &files) {
  networks_.Use(files.face_network, files.point_network);
  return {search_.Load(files.faces), eyes_.Load(files.eyes), search_.LoadQuick(files.quick)};
}

std::optional<SeenFace> FaceLook::Again(const PictureView &picture, const Placement &place) {
  if (const auto faces = networks_.Faces(picture)) {
    const auto face =
        std::find_if(faces->begin(), faces->end(), [&place](const Placement &found) { return Overlap(found, place); });
    return face == faces->end() ? std::nullopt : std::optional(ByNetwork(picture, *face));
  }
  const auto box = search_.Near(picture.y, place);
  Eyes eyes;
  if (box) eyes = eyes_.Find(picture.y, box->placement);
  if (!box || eyes.seen < 2) {
    // The cascade hardly knows heads that turn aside: its box tells their pupils badly, or there is none.
    const Eyes there = eyes_.Find(picture.y, place);
    if (there.seen == 2) {
      eyes = there;
    } else if (!box) {
      return std::nullopt;
    }
  }
  return SeenFace{eyes.placement, eyes.seen, box ? box->score : 0};
}

Placement FaceLook::Correction(const Placement &place, const SeenFace &seen) {
  const Placement off = Relative(place, seen.placement);
  const float moved = std::hypot(off.origin.x, off.origin.y) + std::abs(off.unit - 1) + std::abs(off.angle);
  const float part = Mixed(kStillPart, 1, Clamped01((moved - kStillMove) / (kFastMove - kStillMove)));
  if (seen.eyes == 2) return PartOf(off, part);
  if (seen.eyes == 1) return PartOf(off, part * kPartOfOneEye);
  return SamePlacement();
}

std::vector<CoarseFace> FaceLook::Everywhere(const PictureView &picture, float first_angle, int wanted) {
  if (const auto faces = networks_.Faces(picture)) return Coarse(*faces);
  return search_.Whole(picture.y, first_angle, wanted);
}

std::vector<CoarseFace> FaceLook::Sweep(const PictureView &picture, const SearchPass &pass) {
  if (const auto faces = networks_.Faces(picture)) return Coarse(*faces);
  return search_.Sweep(picture.y, pass);
}

std::optional<SeenFace> FaceLook::Check(const PictureView &picture, const CoarseFace &proposal) {
  if (proposal.trained) return ByNetwork(picture, proposal.placement);
  const Eyes eyes = eyes_.Find(picture.y, proposal.placement);
  const SeenFace seen{eyes.placement, eyes.seen, proposal.score};
  const bool enough_votes = seen.votes >= kVotesWithoutEyes;
  const bool turned = std::abs(proposal.placement.angle) > kTurned;
  const float votes_with_one = turned ? kVotesWithOneEyeTurned : kVotesWithOneEye;
  const bool enough_with_one = (seen.eyes == 1 || !eyes_.CanSee()) && seen.votes >= votes_with_one;
  if (seen.eyes == 2 || enough_votes || enough_with_one) return seen;
  return std::nullopt;
}

std::optional<SeenFace> FaceLook::CheckSwept(const PictureView &picture, const CoarseFace &proposal) {
  if (proposal.trained) return ByNetwork(picture, proposal.placement);
  const auto box = search_.Near(picture.y, proposal.placement);
  if (box) {
    if (const auto seen = Check(picture, *box)) return seen;
  }
  return ByEyesAlone(picture, proposal.placement);
}

std::optional<SeenFace> FaceLook::ByEyesAlone(const PictureView &picture, const Placement &placement) {
  if (!eyes_.CanSee() || !IsDark(CutUpright(picture.y, placement, kFace, kFaceDensity))) return std::nullopt;
  const Eyes first = eyes_.Find(picture.y, placement);
  if (first.seen < 2) return std::nullopt;
  // The eyes of a face are found at the same place again from there.
  const Eyes eyes = eyes_.Find(picture.y, first.placement);
  const cv::Point2f off = first.placement.FromPicture(eyes.placement.origin);
  if (eyes.seen < 2 || std::hypot(off.x, off.y) > kEyesStay || !AreEyesOfAFace(picture.y, eyes.placement)) {
    return std::nullopt;
  }
  return SeenFace{eyes.placement, 2, 0};
}

// Its pupils where the cascade of eyes and the iris's edges tell them better.
SeenFace FaceLook::ByNetwork(const PictureView &picture, const Placement &placement) {
  const Eyes eyes = eyes_.Find(picture.y, placement);
  return {eyes.seen == 2 ? eyes.placement : placement, 2, kSureVotes, true};
}

bool FaceLook::IsSure(const SeenFace &seen) {
  return seen.eyes == 2 && seen.votes >= kSureVotes;
}

std::vector<cv::Point2f> FaceLook::Points(const PictureView &picture, const Placement &placement) {
  return networks_.Points(picture, placement);
}

std::optional<NewFace> FaceLook::Begin(const PictureView &picture, const SeenFace &seen) {
  std::optional<NewFace> face = Begin(picture, seen.placement);
  if (!face) return face;
  face->points = Points(picture, seen.placement);
  face->trained = seen.trained || !face->points.empty();
  return face;
}

std::optional<NewFace> FaceLook::Begin(const PictureView &picture, const Placement &placement) {
  NewFace face;
  face.placement = placement;
  face.face = MakeTemplate(picture.y, placement);
  if (!face.face) return std::nullopt;
  face.features = FindFeatures(picture, placement);
  return face;
}

}  // namespace tessera
