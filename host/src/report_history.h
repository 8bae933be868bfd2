// The newest telemetry records and the one subscriber to them.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <string>

#include "vanta_host.h"

namespace vanta_host {

struct Report {
  int32_t id = 0;
  std::string body;
  uint64_t time_ns = 0;  // os_gettime_ns()
};

// Keeps a bounded history and hands each record on as it comes.
// Threads: any. The subscriber is called on the reporting thread with no lock held.
class ReportHistory {
 public:
  static constexpr size_t kCapacity = 256;

  void Add(Report report);
  bool Get(size_t index, Report &out) const;  // 0 is the oldest; false past the end
  void Clear();
  // Once it returns, the former subscriber is not called any more and is in no call, save one that the caller itself
  // stands in.
  void Subscribe(vanta_host_report_cb callback, void *param);

 private:
  struct Subscriber {
    vanta_host_report_cb callback;
    void *param;
    size_t calls = 0;  // in progress
  };

  mutable std::mutex mutex_;  // guards what follows
  std::condition_variable call_ended_;
  std::deque<Report> reports_;
  std::shared_ptr<Subscriber> subscriber_;  // null: none
};

}  // namespace vanta_host
