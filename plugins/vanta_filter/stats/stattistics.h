// The one-second tick of a beauty worker's statistics.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>

#include "platform/cond_var.h"
#include "vanta_base/mutex.h"

namespace vanta {

// Calls back once a second with the frames that entered and left since the last call. The first call waits until frames
// flow: ten seconds, since nothing wakes it for one.
// Owns: the thread. Threads: constructor, destructor, RequestStop any but [tick-1s]; the callback comes on [tick-1s].
class Stattistics {
 public:
  // (always true, frames entered, frames left).
  using Callback = std::function<void(bool running, float in_count, float out_count)>;

  explicit Stattistics(Callback callback);
  ~Stattistics();  // waits for a callback in progress
  Stattistics(const Stattistics &) = delete;
  Stattistics &operator=(const Stattistics &) = delete;

  // No callback begins after it. Never waits for one in progress.
  void RequestStop() VANTA_EXCLUDES(mutex_);

  std::atomic<uint32_t> in_count{0};   // since the last callback; the owner adds
  std::atomic<uint32_t> out_count{0};  // likewise

 private:
  void Run() VANTA_EXCLUDES(mutex_);
  // False when a stop was requested. Otherwise the time is up or frames have entered.
  bool WaitForFrames(std::chrono::milliseconds timeout) VANTA_REQUIRES(mutex_);

  const Callback callback_;

  Mutex mutex_;
  CondVar cond_;
  bool stop_ VANTA_GUARDED_BY(mutex_) = false;

  std::thread thread_;  // last: it uses everything above
};

}  // namespace vanta
