#include "reports/report_subscriber.h"

#include <system_error>
#include <utility>

#include <util/base.h>

#include "platform/scheduling.h"

namespace vanta_host {
namespace {

// The present thread calls a subscriber: to wait for the end of calls there could be to wait for itself.
thread_local bool is_subscribers_thread = false;

}  // namespace

bool ReportSubscriber::Start() {
  std::lock_guard<std::mutex> lock(mutex_);
  if (ending_) return true;
  try {
    // The thread keeps the object: it may be abandoned from inside its own call.
    thread_ = std::thread([self = shared_from_this()] { self->Main(); });
  } catch (const std::system_error &) {
    return false;
  }
  return true;
}

void ReportSubscriber::Post(const Report &report) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    if (queue_.size() == kCapacity) {
      queue_.pop_front();
      ++dropped_;
    }
    queue_.push_back(report);
    ++posts_;
  }
  posted_.notify_one();
}

void ReportSubscriber::Flush() {
  if (is_subscribers_thread) return;
  std::unique_lock<std::mutex> lock(mutex_);
  handed_on_.wait(
      lock, [this, last = posts_] { return posts_ - queue_.size() >= last && (calling_ == 0 || calling_ > last); });
}

void ReportSubscriber::Finish() {
  End(!is_subscribers_thread);
}

void ReportSubscriber::Abandon() {
  End(false);
}

void ReportSubscriber::End(bool hand_on) {
  {
    std::lock_guard<std::mutex> lock(mutex_);
    ending_ = true;
    if (!hand_on || !thread_.joinable()) queue_.clear();
  }
  posted_.notify_one();
  handed_on_.notify_all();
  if (!thread_.joinable()) return;
  if (is_subscribers_thread)
    thread_.detach();
  else
    thread_.join();
}

void ReportSubscriber::Main() {
  NameThread("vanta_host reports");
  is_subscribers_thread = true;
  std::unique_lock<std::mutex> lock(mutex_);
  for (;;) {
    posted_.wait(lock, [this] { return ending_ || !queue_.empty(); });
    if (queue_.empty()) break;
    const Report report = std::move(queue_.front());
    queue_.pop_front();
    calling_ = posts_ - queue_.size();
    const size_t dropped = std::exchange(dropped_, 0);
    lock.unlock();
    if (dropped != 0)
      blog(LOG_WARNING, "[vanta_host] %llu reports were not handed on: the subscriber is too slow",
           static_cast<unsigned long long>(dropped));
    callback_(param_, report.id, report.body.c_str(), report.time_ns);
    lock.lock();
    calling_ = 0;
    handed_on_.notify_all();
  }
}

}  // namespace vanta_host
