#include "search/search_turns.h"

#include <algorithm>
#include <array>

namespace tessera {
namespace {

constexpr float kDegree = static_cast<float>(CV_PI) / 180;
constexpr int kUsualFaces = 320;  // long side of the picture that is searched, pixels
constexpr int kSmallFaces = 400;

// Every second pass is upright and for usual faces; these stand between. An evened one is the next of DarkPasses.
constexpr std::array<SearchPass, 12> kPasses = {{{kUsualFaces, 0, true},
                                                 {kUsualFaces, -20 * kDegree},
                                                 {kUsualFaces, 20 * kDegree},
                                                 {kUsualFaces, 0, true},
                                                 {kSmallFaces, 0},
                                                 {kUsualFaces, 20 * kDegree},
                                                 {kUsualFaces, 0, true},
                                                 {kUsualFaces, -40 * kDegree},
                                                 {kUsualFaces, -20 * kDegree},
                                                 {kUsualFaces, 0, true},
                                                 {kUsualFaces, 20 * kDegree},
                                                 {kUsualFaces, 40 * kDegree}}};

constexpr uint64_t kLookEvery = 3;  // turns, while there is room for more faces
constexpr size_t kMostChecks = 4;   // of proposals in a turn: each takes 2 to 8 ms
constexpr int kDoubtfulTurns = 3;

// Whether the place belongs to a face that is known already.
bool IsKnown(const SearchTask &task, const SearchAnswer &answer, const Placement &place) {
  return std::any_of(task.known.begin(), task.known.end(),
                     [&](const KnownPlace &known) { return Overlap(known.placement, place); }) ||
         std::any_of(answer.fresh.begin(), answer.fresh.end(),
                     [&](const NewFace &face) { return Overlap(face.placement, place); });
}

}  // namespace

// While there is room for more faces, known ones and new ones are looked for by turns.
SearchAnswer SearchTurns::Turn(const SearchTask &task) {
  SearchAnswer answer;
  const bool room = task.known.size() < static_cast<size_t>(task.max_faces);
  ++turn_;
  if (!task.known.empty() && (!room || turn_ % kLookEvery == 0)) {
    LookAtOne(task, answer);
  } else if (room) {
    LookAtDoubtful(task, answer);
    if (answer.fresh.empty() && !stop_) LookForMore(task, answer);
  }
  return answer;
}

void SearchTurns::LookAtOne(const SearchTask &task, SearchAnswer &answer) {
  const KnownPlace &known = task.known[next_known_++ % task.known.size()];
  const PictureView &picture = task.picture->view;
  LookResult result;
  result.id = known.id;
  if (const auto seen = look_.Again(picture, known.placement)) {
    result.seen = true;
    result.correction = FaceLook::Correction(known.placement, *seen);
    const Placement place = Composed(known.placement, result.correction);
    result.face = MakeTemplate(picture.y, place);
    if (!stop_) result.points = look_.Points(picture, place);
  }
  answer.looks.push_back(std::move(result));
}

SearchPass SearchTurns::NextPass(const cv::Mat &luma) {
  const uint64_t pass = pass_++;
  if (pass % 2 == 0) return {kUsualFaces, 0};
  const SearchPass &next = kPasses[pass / 2 % kPasses.size()];
  return next.evened ? dark_passes_.Next(luma) : next;
}

// A place where a pass found something weak is looked at once more in another picture.
void SearchTurns::LookAtDoubtful(const SearchTask &task, SearchAnswer &answer) {
  std::vector<Doubtful> kept;
  for (Doubtful &doubtful : doubtful_) {
    if (stop_ || IsKnown(task, answer, doubtful.placement)) continue;
    const auto seen = look_.CheckSwept(task.picture->view, {doubtful.placement, 0});
    if (seen) {
      if (auto face = look_.Begin(task.picture->view, *seen)) answer.fresh.push_back(std::move(*face));
    } else if (--doubtful.pictures_left > 0) {
      kept.push_back(doubtful);
    }
  }
  doubtful_ = std::move(kept);
}

void SearchTurns::LookForMore(const SearchTask &task, SearchAnswer &answer) {
  const PictureView &picture = task.picture->view;
  std::vector<CoarseFace> proposals = look_.Sweep(picture, NextPass(picture.y));
  proposals.erase(std::remove_if(proposals.begin(), proposals.end(),
                                 [&](const CoarseFace &proposal) { return IsKnown(task, answer, proposal.placement); }),
                  proposals.end());
  const size_t checks = std::min(proposals.size(), kMostChecks);
  // The best ones each time, and of the others the next.
  for (size_t i = 0; i < checks && !stop_; ++i) {
    const size_t half = checks / 2;
    const size_t at = i < half || proposals.size() <= kMostChecks
                          ? i
                          : half + (first_proposal_ + i - half) % (proposals.size() - half);
    const auto seen = look_.CheckSwept(picture, proposals[at]);
    if (!seen || IsKnown(task, answer, seen->placement)) continue;
    if (!FaceLook::IsSure(*seen)) {
      if (doubtful_.size() < kMostChecks) doubtful_.push_back({seen->placement, kDoubtfulTurns});
      continue;
    }
    if (auto face = look_.Begin(picture, *seen)) answer.fresh.push_back(std::move(*face));
  }
  first_proposal_ += kMostChecks - kMostChecks / 2;
}

}  // namespace tessera
