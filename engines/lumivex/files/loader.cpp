#include "files/loader.h"

#include <utility>

namespace lumivex {

Loader::~Loader() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ends_ = true;
    waiting_.clear();
  }
  more_.notify_one();
  if (thread_.joinable()) thread_.join();
}

void Loader::Do(std::function<void()> work) {
  if (!thread_.joinable()) thread_ = std::thread([this] { Run(); });
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    waiting_.push_back(std::move(work));
  }
  more_.notify_one();
}

void Loader::Run() {
  while (true) {
    std::function<void()> work;
    {
      std::unique_lock<std::mutex> lock(mutex_);
      more_.wait(lock, [this] { return ends_ || !waiting_.empty(); });
      if (ends_) return;
      work = std::move(waiting_.front());
      waiting_.pop_front();
    }
    work();
  }
}

}  // namespace lumivex
