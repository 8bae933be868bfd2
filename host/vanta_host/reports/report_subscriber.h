// One subscriber to reports, and the thread that calls it.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "vanta_host.h"

namespace vanta_host {

struct Report {
  int32_t id = 0;
  std::string body;
  uint64_t time_ns = 0;  // os_gettime_ns()
};

// Hands reports to a callback, one after the other, on a thread of its own: those who report may hold the engine's lock
// or the graphics context, and the callback may ask for either.
// Owns: the thread and what waits for it. Borrows: the callback's `param`, from Start to Finish or Abandon.
// Threads: any.
class ReportSubscriber : public std::enable_shared_from_this<ReportSubscriber> {
 public:
  // What waits for a callback that is slow. Past it the oldest reports go, and the log tells how many.
  static constexpr size_t kCapacity = 4096;

  ReportSubscriber(vanta_host_report_cb callback, void *param) : callback_(callback), param_(param) {}
  ReportSubscriber(const ReportSubscriber &) = delete;
  ReportSubscriber &operator=(const ReportSubscriber &) = delete;

  // Begins to hand on, what was posted before first. False where the system grants no thread.
  bool Start();
  // Waits for no call, so it may come under any lock.
  void Post(const Report &report);
  // Waits until what was posted before has been handed on. On a subscriber's own thread it waits for nothing.
  void Flush();
  // Hands on what was posted and ends the thread: the callback is in no call any more. On a subscriber's own thread it
  // hands on nothing and waits for nothing, and one that was not started never will be. After the last Post.
  void Finish();
  // The same, and hands on nothing.
  void Abandon();

 private:
  void Main();
  void End(bool hand_on);

  const vanta_host_report_cb callback_;
  void *const param_;

  std::mutex mutex_;  // guards what follows; `thread_` until `ending_`
  std::condition_variable posted_, handed_on_;
  std::thread thread_;
  std::deque<Report> queue_;
  uint64_t posts_ = 0;    // reports that came, which numbers them from 1
  uint64_t calling_ = 0;  // the number of the one that the callback has now; 0: none
  size_t dropped_ = 0;    // since the log was told
  bool ending_ = false;
};

}  // namespace vanta_host
