// `WorkerState` is how far a worker's life has come, and what its thread sleeps on.
#pragma once

#include <atomic>
#include <cstdint>

#include "platform/cond_var.h"
#include "vanta_base/mutex.h"

namespace vanta {

class FaceBeautyFrameFactory;

// Threads: WaitForInput, SetRunning [worker]; the others [any]. wake_mutex is never taken under another lock of the
// worker's.
class WorkerState {
 public:
  WorkerState() = default;
  WorkerState(const WorkerState &) = delete;
  WorkerState &operator=(const WorkerState &) = delete;

  void SetRunning() { state_ = kRunning; }
  bool IsRunning() const { return state_.load() == kRunning; }
  bool IsUninited() const { return state_.load() == kUninitialised; }
  bool StopRequested() const { return stop_flag_; }

  // Joins nothing, may come more than once. A worker that never ran stays uninitialised.
  void Stop() VANTA_EXCLUDES(wake_mutex_);
  // Without wake_mutex, so that nobody waits here: a wake-up that falls between the thread's test and its wait is
  // repaired by the next one.
  void Wake() { wake_cond_.NotifyAll(); }
  // Until there is input, a stop or a wake-up. May end without cause.
  void WaitForInput(const FaceBeautyFrameFactory &frames) VANTA_EXCLUDES(wake_mutex_);

 private:
  enum State : uint32_t { kUninitialised = 0, kStopped = 1, kRunning = 2 };

  std::atomic<uint32_t> state_{kUninitialised};
  std::atomic<bool> stop_flag_{false};
  Mutex wake_mutex_;  // guards the wait alone
  CondVar wake_cond_;
};

}  // namespace vanta
