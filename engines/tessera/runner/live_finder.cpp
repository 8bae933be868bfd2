#include "runner/live_finder.h"

#include <chrono>
#include <utility>

namespace tessera {
namespace {

double Seconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

std::optional<NewFace> FindAnew(FaceLook &look, const SmallPicture &picture, const Placement &place) {
  const auto seen = look.Again(picture.view, place);
  if (!seen) return std::nullopt;
  return look.Begin(picture.view, *seen);
}

}  // namespace

LiveFinder::LiveFinder(FaceLook &look)
    : turns_(look),
      thread_([this](const SearchTask &task) { return turns_.Turn(task); },
              [&look](const SmallPicture &picture, const Placement &place) { return FindAnew(look, picture, place); }) {
}

LiveFinder::~LiveFinder() {
  turns_.Stop();
}

void LiveFinder::SetMaxFaces(int faces) {
  max_faces_ = faces;
  known_.KeepAtMost(static_cast<size_t>(faces));
}

void LiveFinder::StartAnew() {
  ++generation_;
  known_.Clear();
}

void LiveFinder::Take(SearchAnswer &&answer, double now) {
  for (LookResult &look : answer.looks) {
    if (look.seen) {
      known_.Confirm(look.id, look.correction, std::move(look.face), now, look.points);
    } else {
      known_.Miss(look.id);
    }
  }
  for (const NewFace &face : answer.fresh) {
    if (known_.Count() < static_cast<size_t>(max_faces_)) known_.Add(face, now);
  }
}

void LiveFinder::Ask(const std::shared_ptr<const SmallPicture> &picture) {
  SearchTask task{picture, {}, max_faces_};
  for (const KnownFace &face : known_.All()) task.known.push_back({face.id, face.placement});
  thread_.Ask(task);
}

std::vector<FoundFace> LiveFinder::Find(const PictureView &picture) {
  if (picture.y.size() != size_) {
    StartAnew();
    size_ = picture.y.size();
  }
  const double now = Seconds();
  const std::shared_ptr<SmallPicture> small = maker_.Make(picture);
  small->number = ++pictures_;
  small->generation = generation_;
  Take(thread_.Exchange(small), now);
  known_.Follow(small->view);
  known_.DropUnconfirmed(now);
  known_.FindFeatures(small->view, 1);
  Ask(small);
  thread_.Rethrow();
  return known_.Shown(size_, SmallPictureMaker::ScaleOf(size_));
}

}  // namespace tessera
