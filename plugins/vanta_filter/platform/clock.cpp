#include "platform/clock.h"

#include <util/platform.h>

#include <chrono>

#include "platform/cond_var.h"
#include "vanta_base/mutex.h"

namespace vanta {

int64_t SteadyClockNs() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

int64_t HostClockNs() {
  return static_cast<int64_t>(os_gettime_ns());
}

int64_t SystemTickMs() {
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

bool CondVar::WaitFor(Mutex &mutex, std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> held(mutex.mutex_, std::adopt_lock);
  const bool notified = cond_.wait_for(held, timeout) == std::cv_status::no_timeout;
  held.release();
  return notified;
}

void CondVar::NotifyOne() {
  cond_.notify_one();
}

void CondVar::NotifyAll() {
  cond_.notify_all();
}

}  // namespace vanta
