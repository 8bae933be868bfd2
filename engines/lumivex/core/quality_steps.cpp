#include "core/quality_steps.h"

#include <algorithm>

namespace lumivex {
namespace {

constexpr float kFollow = 0.1f;
constexpr float kShortest = 0.05f;  // milliseconds: closer stamps tell no interval
constexpr float kLongest = 200.0f;  // likewise: a pause
constexpr float kFull = 0.85f;      // of the interval: less quality from here on
constexpr float kPlenty = 0.45f;    // more below it
constexpr int kSettle = 30;         // frames after a step before the next one down
constexpr int kPatience = 150;      // frames with plenty of time before a step up
constexpr float kNeutral = 0.65f;

}  // namespace

void QualitySteps::AddFrame(uint64_t timestamp, float milliseconds) {
  const uint64_t former = last_;
  last_ = timestamp;
  if (former == 0 || timestamp <= former) return;
  const float passed = static_cast<float>(timestamp - former) / 1e6f;
  if (passed < kShortest || passed > kLongest) return;
  interval_ms_ = interval_ms_ > 0.0f ? interval_ms_ + kFollow * (passed - interval_ms_) : passed;
  load_ += kFollow * (std::min(milliseconds / interval_ms_, 3.0f) - load_);
  ++frames_;
  if (load_ > kFull && step_ < kLowest && frames_ >= kSettle) return Go(step_ + 1);
  if (load_ >= kPlenty) frames_ = std::min(frames_, kSettle);
  if (step_ > 0 && frames_ >= kPatience) Go(step_ - 1);
}

void QualitySteps::Go(int step) {
  step_ = step;
  frames_ = 0;
  load_ = kNeutral;
}

}  // namespace lumivex
