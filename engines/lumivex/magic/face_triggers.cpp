#include "magic/face_triggers.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

constexpr float kSure = 0.5f;
// Eye distances between the lips: more than a smile shows, which is up to 0.2.
constexpr float kMouthOpens = 0.26f;
constexpr float kMouthShuts = 0.21f;
constexpr float kLidsShut = 0.4f;
constexpr float kLidsOpen = 0.6f;
constexpr int64_t kForgottenMs = 400;
constexpr int64_t kLongestBlinkMs = 600;
constexpr float kSamePlace = 1.0f;  // eye distances that a head moves from frame to frame

}  // namespace

void FaceTriggers::Person::Look(const Expression &expression, int64_t now_ms) {
  const bool sure = expression.confidence >= kSure;
  const Opening &mouth = expression.mouth;
  if (sure && mouth.confidence >= kSure) {
    mouth_seen_ms = now_ms;
    if (mouth.open < kMouthShuts) mouth_open.reset();
    if (mouth.open > kMouthOpens && !mouth_open) mouth_open = now_ms;
  } else if (now_ms - mouth_seen_ms > kForgottenMs) {
    mouth_open.reset();
  }
  const Opening &left = expression.left_eye;
  const Opening &right = expression.right_eye;
  if (!sure || std::min(left.confidence, right.confidence) < kSure) return;
  if (std::max(left.open, right.open) < kLidsShut) {
    if (!lids_shut) lids_shut = now_ms;
  } else if (std::min(left.open, right.open) > kLidsOpen && lids_shut) {
    if (now_ms - *lids_shut <= kLongestBlinkMs) blinked = now_ms;
    lids_shut.reset();
  }
}

const std::optional<int64_t> &FaceTriggers::Person::Of(FaceTrigger trigger) const {
  return trigger == FaceTrigger::kBlink ? blinked : mouth_open;
}

void FaceTriggers::Look(const Faces &faces, int64_t now_ms) {
  std::erase_if(people_, [&](const Person &person) { return now_ms - person.seen_ms > kForgottenMs; });
  for (Person &person : people_) person.in_frame = false;
  of_face_.clear();
  for (const Face &face : faces) {
    const size_t index = PersonOf(face);
    Person &person = people_[index];
    person.in_frame = true;
    person.seen_ms = now_ms;
    person.Look(face.expression, now_ms);
    of_face_.push_back(index);
  }
}

void FaceTriggers::Clear() {
  people_.clear();
  of_face_.clear();
}

// The nearest one that no other face of the frame is, or a new one.
size_t FaceTriggers::PersonOf(const Face &face) {
  const FramePoint &left = face.At(FaceAnchor::kLeftEye);
  const FramePoint &right = face.At(FaceAnchor::kRightEye);
  const FramePoint eyes{(left.x + right.x) / 2, (left.y + right.y) / 2};
  size_t nearest = people_.size();
  float least = kSamePlace * face.eye_distance;
  for (size_t i = 0; i < people_.size(); ++i) {
    const float distance = std::hypot(people_[i].eyes.x - eyes.x, people_[i].eyes.y - eyes.y);
    if (people_[i].in_frame || distance > least) continue;
    nearest = i;
    least = distance;
  }
  if (nearest == people_.size()) people_.emplace_back();
  people_[nearest].eyes = eyes;
  return nearest;
}

std::optional<int64_t> FaceTriggers::Since(FaceTrigger trigger, std::optional<size_t> face) const {
  if (face) return people_[of_face_[*face]].Of(trigger);
  std::optional<int64_t> since;
  for (const Person &person : people_) {
    const std::optional<int64_t> &own = person.Of(trigger);
    if (!own) continue;
    const bool better = !since || (trigger == FaceTrigger::kBlink ? *own > *since : *own < *since);
    if (better) since = own;
  }
  return since;
}

}  // namespace lumivex
