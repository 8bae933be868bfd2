// The condition variable that goes with the annotated mutex.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

#include "vanta_base/mutex.h"

namespace vanta {

// Condition variable for `Mutex`. Both waits may end without cause: callers test their condition again. All but the
// untimed wait is defined with the clock, so that tests can move time.
class CondVar {
 public:
  void Wait(Mutex &mutex) VANTA_REQUIRES(mutex) {
    std::unique_lock<std::mutex> held(mutex.mutex_, std::adopt_lock);
    cond_.wait(held);
    held.release();
  }
  // False when the time is up.
  bool WaitFor(Mutex &mutex, std::chrono::milliseconds timeout) VANTA_REQUIRES(mutex);
  void NotifyOne();
  void NotifyAll();

 private:
  std::condition_variable cond_;
};

}  // namespace vanta
