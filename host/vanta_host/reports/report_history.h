// The newest telemetry records and the one subscriber to them.
#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <mutex>

#include "reports/report_subscriber.h"
#include "vanta_host.h"

namespace vanta_host {

// Keeps a bounded history, and passes each record on to the subscriber, which gets them in the history's order.
// Threads: any.
class ReportHistory {
 public:
  static constexpr size_t kCapacity = 256;

  void Add(Report report);                    // waits for no subscriber
  bool Get(size_t index, Report &out) const;  // 0 is the oldest; false past the end
  void Clear();
  // The former subscriber is given what came before. Once this returns it is not called any more and is in no call.
  // From inside a subscriber's call it is given nothing more, and nothing is waited for.
  void Subscribe(vanta_host_report_cb callback, void *param);
  // Waits until the subscriber has been given what came before; not from inside its call.
  void Flush();
  // Ends the subscription without what the subscriber was not given yet, for good.
  void Close();

 private:
  std::shared_ptr<ReportSubscriber> Exchange(std::shared_ptr<ReportSubscriber> subscriber);

  mutable std::mutex mutex_;  // guards what follows
  std::deque<Report> reports_;
  std::shared_ptr<ReportSubscriber> subscriber_;  // null: none
  bool closed_ = false;
};

ReportHistory &Reports();  // the process's

}  // namespace vanta_host
