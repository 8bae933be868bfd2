#include "stats/stattistics.h"

#include <chrono>
#include <utility>

#include "platform/clock.h"
#include "platform/thread.h"

namespace vanta {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kFirstFramesTimeout{10'000};
constexpr milliseconds kPeriod{1'000};
constexpr int64_t kNsPerMs = 1'000'000;

}  // namespace

Stattistics::Stattistics(Callback callback) : callback_(std::move(callback)), thread_([this] { Run(); }) {}

Stattistics::~Stattistics() {
  RequestStop();
  thread_.join();
}

void Stattistics::RequestStop() {
  {
    const MutexLock held(mutex_);
    stop_ = true;
  }
  cond_.NotifyOne();
}

void Stattistics::Run() {
  SetCurrentThreadName("Stattistics");
  mutex_.Lock();
  bool running = WaitForFrames(kFirstFramesTimeout);
  while (running && WaitForFrames(kPeriod)) {
    // The callback may wait for the engine. Whoever asks for a stop then must not wait with it.
    mutex_.Unlock();
    callback_(true, static_cast<float>(in_count.load()), static_cast<float>(out_count.load()));
    mutex_.Lock();
    in_count = 0;
    out_count = 0;
  }
  mutex_.Unlock();
}

bool Stattistics::WaitForFrames(milliseconds timeout) {
  const int64_t deadline = SteadyClockNs() + timeout.count() * kNsPerMs;
  while (!stop_ && in_count.load() == 0) {
    const int64_t left = deadline - SteadyClockNs();
    if (left <= 0) break;
    // Rounded up, so that the last wait does not end just short of the deadline and turn into a busy loop.
    cond_.WaitFor(mutex_, milliseconds((left + kNsPerMs - 1) / kNsPerMs));
  }
  return !stop_;
}

}  // namespace vanta
