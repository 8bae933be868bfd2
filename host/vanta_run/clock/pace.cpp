#include "clock/pace.h"

#include <chrono>

#include "clock/step_clock.h"

namespace vanta_run {
namespace {

constexpr int kLookMs = 20;
constexpr uint64_t kBeforeTickNs = 1000;

double RealSeconds() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

void Pace::StartRun(uint64_t start_ns) {
  start_ns_ = start_ns;
  real_start_ = RealSeconds();
  looks_ = ticks_ = 0;
}

bool Pace::Wait() {
  StepClock &clock = StepClock::Get();
  if (!in_step_ || !clock.held()) return interrupt_.Wait(kLookMs);
  // The tick that the look before was for begins and ends, then the next one is looked at.
  if (clock.NextTick() <= clock.Now() + kBeforeTickNs) clock.SleepUntil(clock.NextTick());
  clock.SleepUntil(clock.NextTick() - kBeforeTickNs);
  ticks_ = looks_++;
  return interrupt_.Wait(0);
}

double Pace::Elapsed() const {
  if (in_step_) return static_cast<double>(ticks_) * rate_.den / rate_.num;
  return static_cast<double>(StepClock::Get().Now() - start_ns_) / 1e9;
}

double Pace::RealElapsed() const {
  return RealSeconds() - real_start_;
}

}  // namespace vanta_run
