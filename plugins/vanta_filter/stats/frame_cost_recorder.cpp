#include "stats/frame_cost_recorder.h"

#include <cinttypes>
#include <mutex>
#include <string>

#include <util/base.h>

#include "platform/clock.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {

namespace {

constexpr int64_t kSlowFrameUs = 100'000;
constexpr int64_t kSpikeUs = 500'000;
constexpr int64_t kPeriodUs = 60'000'000;
constexpr int64_t kSlowAverageUs = 50'001;  // from here on the minute's line is a warning
constexpr int64_t kCheapUs = 1'000;         // below, the minute gets a short line and no observer call

using ObserverCall = void (FrameRateCalcObserver::*)(const std::string &name, int cost_us);

void TellObservers(ObserverCall call, const char *name, int64_t cost_us) {
  FrameRateCalcCenter &center = FrameRateCalcCenter::Instance();
  const std::string text = name;
  const std::lock_guard<std::mutex> held(center.lock);
  for (FrameRateCalcObserver *observer : center.observers) {
    if (observer) (observer->*call)(text, static_cast<int>(cost_us));
  }
}

}  // namespace

void FrameCostRecorder::Start() {
  frame_start_us_ = SteadyClockUs();
  if (period_start_us_ == 0) period_start_us_ = frame_start_us_;
}

void FrameCostRecorder::Stop() {
  const int64_t now = SteadyClockUs();
  const int64_t cost = now - frame_start_us_;
  total_cost_us_ += cost;
  if (cost > max_cost_us_) max_cost_us_ = cost;
  if (cost > kSlowFrameUs) blog(LOG_WARNING, "%s: frame cost too much: %" PRId64 " us", name_, cost);
  if (cost > kSpikeUs) TellObservers(&FrameRateCalcObserver::OnCostSpike, name_, cost);
  ++frame_count_;
  if (now - period_start_us_ > kPeriodUs) Report();
  frames_seen_.fetch_add(1, std::memory_order_relaxed);
}

void FrameCostRecorder::Report() {
  const int64_t now = SteadyClockUs();
  const int64_t elapsed = now - period_start_us_;
  const int64_t n = frame_count_;
  float fps = 0;
  if (n >= 1 && elapsed >= 1) fps = static_cast<float>(n) * 1000000.0f / static_cast<float>(elapsed);
  period_start_us_ = now;
  const int64_t avg = n < 1 ? 0 : total_cost_us_ / n;
  const int level = avg < kSlowAverageUs ? LOG_INFO : LOG_WARNING;
  if (avg < kCheapUs && max_cost_us_ < kCheapUs) {
    blog(level, "%s: frame cnt=%" PRId64 ", fps=%.2f", name_, n, fps);
  } else {
    blog(level, "%s: frame cnt=%" PRId64 ", avg_cost_us=%" PRId64 ", max_cost_us=%" PRId64 ", fps=%.2f", name_, n, avg,
         max_cost_us_, fps);
    TellObservers(&FrameRateCalcObserver::OnCostReport, name_, avg);
  }
  total_cost_us_ = 0;
  max_cost_us_ = 0;
  frame_count_ = 0;
}

}  // namespace vanta
