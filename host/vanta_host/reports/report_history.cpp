#include "reports/report_history.h"

#include <utility>

#include <util/base.h>

namespace vanta_host {

void ReportHistory::Add(Report report) {
  std::lock_guard<std::mutex> lock(mutex_);
  if (subscriber_) subscriber_->Post(report);
  if (reports_.size() == kCapacity) reports_.pop_front();
  reports_.push_back(std::move(report));
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

std::shared_ptr<ReportSubscriber> ReportHistory::Exchange(std::shared_ptr<ReportSubscriber> subscriber) {
  std::lock_guard<std::mutex> lock(mutex_);
  // A new one that comes too late goes as it came.
  if (!closed_) subscriber.swap(subscriber_);
  return subscriber;
}

void ReportHistory::Subscribe(vanta_host_report_cb callback, void *param) {
  const auto subscriber = callback ? std::make_shared<ReportSubscriber>(callback, param) : nullptr;
  // It is given reports from here on, but not before the former one has ended: the two may have one `param`.
  if (const auto former = Exchange(subscriber)) former->Finish();
  if (!subscriber || subscriber->Start()) return;
  blog(LOG_ERROR, "[vanta_host] no thread for reports: their subscriber is given none");
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (subscriber_ == subscriber) subscriber_ = nullptr;
  }
  subscriber->Abandon();
}

void ReportHistory::Flush() {
  std::shared_ptr<ReportSubscriber> subscriber;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    subscriber = subscriber_;
  }
  if (subscriber) subscriber->Flush();
}

void ReportHistory::Close() {
  std::shared_ptr<ReportSubscriber> former;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
    former.swap(subscriber_);
  }
  if (former) former->Abandon();
}

}  // namespace vanta_host
