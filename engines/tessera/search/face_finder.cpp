#include "search/face_finder.h"

#include <vector>

namespace tessera {
namespace {

// A whole search while there are faces: newcomers are seen within a second or two.
constexpr int kWholeSearchEvery = 20;
// So often a face that is followed well is searched, pictures.
constexpr uint64_t kLookEvery = 4;
// Where it looks less like its template it is searched at once, and counts as gone when it is not seen.
constexpr float kLost = 0.6F;

}  // namespace

void FaceFinder::SetMaxFaces(int faces) {
  max_faces_ = faces;
  known_.KeepAtMost(static_cast<size_t>(faces));
  until_whole_search_ = 0;
}

void FaceFinder::StartAnew() {
  known_.Clear();
  until_whole_search_ = 0;
  last_angle_ = 0;
  fruitless_ = 0;
}

void FaceFinder::LookAgain(const PictureView &picture) {
  const std::vector<KnownFace> followed = known_.All();
  for (size_t i = 0; i < followed.size(); ++i) {
    const KnownFace &face = followed[i];
    const bool lost = face.correlation < kLost;
    if (!lost && (picture_ + i) % kLookEvery != 0) continue;
    const auto seen = look_.Again(picture, face.placement);
    if (!seen) {
      if (lost) {
        known_.Drop(face.id);
      } else {
        known_.Miss(face.id);
      }
      continue;
    }
    const Placement correction = FaceLook::Correction(face.placement, *seen);
    known_.Confirm(face.id, correction, MakeTemplate(picture.y, Composed(face.placement, correction)), 0);
    last_angle_ = seen->placement.angle;
  }
}

void FaceFinder::LookForMore(const PictureView &picture) {
  for (const CoarseFace &proposal : look_.Everywhere(picture, last_angle_, max_faces_, fruitless_)) {
    if (!Room()) break;
    const auto seen = look_.Check(picture, proposal);
    if (!seen) continue;
    const auto face = FaceLook::Begin(picture, seen->placement);
    if (face && known_.Add(*face, 0)) last_angle_ = seen->placement.angle;
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
  if (known_.Empty() || (Room() && --until_whole_search_ <= 0)) {
    LookForMore(picture);
    until_whole_search_ = kWholeSearchEvery;
  }
  return known_.Shown(size_, 1);
}

}  // namespace tessera
