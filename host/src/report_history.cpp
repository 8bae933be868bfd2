#include "report_history.h"

#include <utility>

namespace vanta_host {
namespace {

// Calls that the present thread stands in. Such a thread does not wait for the end of calls: its own would never end,
// and two of them would wait for each other.
thread_local int calls_here = 0;

}  // namespace

void ReportHistory::Add(Report report) {
  std::shared_ptr<Subscriber> subscriber;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (reports_.size() == kCapacity) reports_.pop_front();
    reports_.push_back(report);
    subscriber = subscriber_;
    if (subscriber) ++subscriber->calls;
  }
  if (!subscriber) return;
  ++calls_here;
  subscriber->callback(subscriber->param, report.id, report.body.c_str(), report.time_ns);
  --calls_here;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    --subscriber->calls;
  }
  call_ended_.notify_all();
}

bool ReportHistory::Get(size_t index, Report &out) const {
  std::lock_guard<std::mutex> lock(mutex_);
  if (index >= reports_.size()) return false;
  out = reports_[index];
  return true;
}

void ReportHistory::Clear() {
  std::lock_guard<std::mutex> lock(mutex_);
  reports_.clear();
}

void ReportHistory::Subscribe(vanta_host_report_cb callback, void *param) {
  auto subscriber = callback ? std::make_shared<Subscriber>(Subscriber{callback, param}) : nullptr;
  std::unique_lock<std::mutex> lock(mutex_);
  subscriber.swap(subscriber_);
  if (subscriber && calls_here == 0) call_ended_.wait(lock, [&] { return subscriber->calls == 0; });
}

}  // namespace vanta_host
