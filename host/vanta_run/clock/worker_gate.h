// Holds the graphics thread's turn until the module's worker has done with the frame that it was given.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <utility>

#include "clock/step_clock.h"

namespace vanta_run {

// The module's threads that call the host's ...ThreadSleep hook after each frame.
enum class WorkerKind { kBeauty, kLandmark, kLandmarkGpu };

// The worker says that it is at work on a frame. Threads: any.
bool WorkerIsBusy(WorkerKind kind);
// Hooks of that kind so far, in the whole process. Threads: any.
uint64_t WorkerSleeps(WorkerKind kind);
// For the interposed hooks.
void CountWorkerSleep(WorkerKind kind);

// For the interposed hook: a picture goes to that worker. Every gate of its kind expects it. [graphics]
void TellCapture(WorkerKind kind);

// On the clock from construction to destruction. Threads: Expect, Resume and the gate's own [tick]; the others
// [control], while the clock is held or nothing is under way.
class WorkerGate : public Gate {
 public:
  // `remind`: called while a frame is out, every 20 ms; empty: nothing can be done. A worker may miss the signal that a
  // frame has come, and would sleep until the next one.
  WorkerGate(WorkerKind kind, std::function<void()> remind);
  ~WorkerGate();
  WorkerGate(const WorkerGate &) = delete;
  WorkerGate &operator=(const WorkerGate &) = delete;

  WorkerKind kind() const { return kind_; }
  // Everything until now has been done.
  void StartOver() { expected_ = WorkerSleeps(kind_); }
  // One more frame goes to the worker.
  void Expect() { ++expected_; }
  // Frames that did not come back in time.
  uint64_t given_up() const { return given_up_; }
  // Expects no more than has come.
  void Forget();

  bool IsOpen() override { return WorkerSleeps(kind_) >= expected_; }
  void Remind() override;
  void GiveUp() override;

 private:
  const WorkerKind kind_;
  const std::function<void()> remind_;
  std::atomic<uint64_t> expected_{0};
  std::atomic<uint64_t> given_up_{0};
};

}  // namespace vanta_run
