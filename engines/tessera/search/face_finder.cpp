#include "search/face_finder.h"

#include <algorithm>
#include <array>
#include <vector>

namespace tessera {
namespace {

// So often one sweep looks for more while there are faces, pictures.
constexpr uint64_t kSweepEvery = 4;
constexpr size_t kMostChecks = 4;  // of what a sweep proposes
constexpr float kWorthALook = 6;   // windows that agree
// So often a face that is followed well is searched, pictures.
constexpr uint64_t kLookEvery = 4;
// Where it looks less like its template it is searched at once, and counts as gone when it is not seen.
constexpr float kLost = 0.6F;

constexpr float kDegree = static_cast<float>(CV_PI) / 180;
constexpr SearchPass kUpright = {320, 0};
// An evened one is the next of DarkPasses.
constexpr std::array<SearchPass, 8> kOthers = {{{320, 0, true},
                                                {320, -20 * kDegree},
                                                {320, 20 * kDegree},
                                                {320, 0, true},
                                                {400, 0},
                                                {320, 0, true},
                                                {320, -40 * kDegree},
                                                {320, 40 * kDegree}}};

}  // namespace

void FaceFinder::SetMaxFaces(int faces) {
  max_faces_ = faces;
  known_.KeepAtMost(static_cast<size_t>(faces));
}

void FaceFinder::StartAnew() {
  known_.Clear();
  searched_everywhere_ = false;
  last_angle_ = 0;
}

void FaceFinder::LookAgain(const PictureView &picture) {
  const std::vector<KnownFace> followed = known_.All();
  for (size_t i = 0; i < followed.size(); ++i) {
    const KnownFace &face = followed[i];
    const bool lost = face.correlation < kLost;
    if (!lost && (picture_ + i) % kLookEvery != 0) continue;
    const auto seen = look_.Again(picture, face.placement);
    // Eyes alone are not enough for a face that looks different.
    if (!seen || (lost && seen->votes == 0)) {
      if (lost) {
        known_.Drop(face.id);
      } else {
        known_.Miss(face.id);
      }
      continue;
    }
    const Placement correction = FaceLook::Correction(face.placement, *seen);
    const Placement place = Composed(face.placement, correction);
    known_.Confirm(face.id, correction, MakeTemplate(picture.y, place), 0, look_.Points(picture, place));
    last_angle_ = seen->placement.angle;
  }
}

void FaceFinder::Begin(const PictureView &picture, const SeenFace &seen) {
  const auto face = look_.Begin(picture, seen);
  if (face && known_.Add(*face, 0)) last_angle_ = seen.placement.angle;
}

void FaceFinder::LookEverywhere(const PictureView &picture) {
  size_t checks = 0;
  for (const CoarseFace &proposal : look_.Everywhere(picture, last_angle_, max_faces_)) {
    if (!Room()) break;
    auto seen = look_.Check(picture, proposal);
    // A dark face shows in a closer look.
    if (!seen && proposal.score >= kWorthALook && checks++ < kMostChecks) seen = look_.CheckSwept(picture, proposal);
    if (seen) Begin(picture, *seen);
  }
}

void FaceFinder::Sweep(const PictureView &picture, const SearchPass &pass) {
  size_t checks = 0;
  for (const CoarseFace &proposal : look_.Sweep(picture, pass)) {
    if (!Room() || checks == kMostChecks) break;
    const bool known = std::any_of(known_.All().begin(), known_.All().end(), [&proposal](const KnownFace &face) {
      return Overlap(face.placement, proposal.placement);
    });
    if (known) continue;
    ++checks;
    if (const auto seen = look_.CheckSwept(picture, proposal)) Begin(picture, *seen);
  }
}

std::vector<FoundFace> FaceFinder::Find(const PictureView &picture) {
  if (picture.y.size() != size_) {
    known_.Clear();
    size_ = picture.y.size();
  }
  ++picture_;
  known_.Follow(picture);
  LookAgain(picture);
  known_.FindFeatures(picture, known_.Count());
  const auto other = [&] {
    const SearchPass &pass = kOthers[sweeps_ / 2 % kOthers.size()];
    return pass.evened ? dark_passes_.Next(picture.y) : pass;
  };
  if (known_.Empty()) {
    if (!searched_everywhere_) {
      LookEverywhere(picture);
    } else {
      sweeps_ += 2;
      Sweep(picture, kUpright);
      if (known_.Empty()) Sweep(picture, other());
    }
    searched_everywhere_ = known_.Empty();
  } else if (Room() && picture_ % kSweepEvery == 0) {
    Sweep(picture, ++sweeps_ % 2 == 0 ? other() : kUpright);
  }
  return known_.Shown(size_, 1);
}

}  // namespace tessera
