// The thread that looks after the workers.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

#include "supervision/thread_supervision.h"

namespace vanta_host {

// Checks the table a few times in each limit, and sleeps for good while there is nobody to watch.
// Owns: its thread, from the first Wake to Stop. Borrows: the table.
// Threads: any.
class Watchdog {
 public:
  explicit Watchdog(ThreadSupervision &table) : table_(table) {}
  ~Watchdog() { Close(); }
  Watchdog(const Watchdog &) = delete;
  Watchdog &operator=(const Watchdog &) = delete;

  void SetLimitMs(uint32_t limit_ms);  // 0: watch nobody
  // There is a worker to watch: starts the thread where none runs. A system that grants no thread goes unwatched. The
  // thread is scheduled as the process is, whatever the caller's policy.
  void Wake();
  // Ends the thread and waits for it, unless it is the caller. The next Wake starts another.
  void Stop();
  // Stop, for good.
  void Close();

 private:
  void Main(uint64_t generation);

  ThreadSupervision &table_;
  std::mutex mutex_;  // guards what follows
  std::condition_variable changed_;
  std::thread thread_;
  uint64_t generation_ = 0;  // rises with each stop: a thread of an older one ends
  uint32_t limit_ms_ = 5000;
  bool closed_ = false;
};

}  // namespace vanta_host
