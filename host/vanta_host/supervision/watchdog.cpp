#include "supervision/watchdog.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <utility>

#include <util/platform.h>

#include "platform/scheduling.h"

namespace vanta_host {

void Watchdog::SetLimitMs(uint32_t limit_ms) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    limit_ms_ = limit_ms;
  }
  changed_.notify_all();
}

void Watchdog::Wake() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (closed_) return;
    if (!thread_.joinable()) {
      try {
        thread_ = std::thread(&Watchdog::Main, this, generation_);
      } catch (const std::system_error &) {
        return;
      }
    }
  }
  changed_.notify_all();
}

void Watchdog::Stop() {
  std::thread ending;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    ++generation_;
    ending = std::move(thread_);
  }
  changed_.notify_all();
  if (!ending.joinable()) return;
  // A log handler may end the program from the watchdog's own line.
  if (ending.get_id() == std::this_thread::get_id())
    ending.detach();
  else
    ending.join();
}

void Watchdog::Close() {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
  }
  Stop();
}

void Watchdog::Main(uint64_t generation) {
  NameThread("vanta_host watchdog");
  TakeSchedulingOfTheProcess();
  std::unique_lock<std::mutex> lock(mutex_);
  while (generation_ == generation) {
    if (limit_ms_ == 0 || table_.Empty()) {
      changed_.wait(lock);
      continue;
    }
    const uint64_t limit_ns = uint64_t{limit_ms_} * 1000000;
    lock.unlock();
    table_.CheckWorkers(os_gettime_ns(), limit_ns);
    lock.lock();
    if (generation_ != generation) break;
    changed_.wait_for(lock, std::chrono::milliseconds(std::clamp(limit_ms_ / 4, 5u, 1000u)));
  }
}

}  // namespace vanta_host
