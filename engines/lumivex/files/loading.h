// `Loading`: something that is being read by a loader, so that no frame waits
// for a disk.
#pragma once

#include <atomic>
#include <chrono>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <utility>

#include "files/loader.h"

namespace lumivex {

// One of the loads of this process that nobody has taken yet. Threads: any.
class PendingLoad {
 public:
  PendingLoad() { ++count_; }
  ~PendingLoad() { --count_; }
  PendingLoad(const PendingLoad &) = delete;
  PendingLoad &operator=(const PendingLoad &) = delete;

  static int Count() { return count_; }

 private:
  static inline std::atomic<int> count_{0};
};

// Owns: what was read, until it is taken. Threads: one at a time.
template <typename Result>
class Loading {
 public:
  Loading() = default;
  ~Loading() { Cancel(); }
  Loading(const Loading &) = delete;
  Loading &operator=(const Loading &) = delete;

  // `read` takes the flag that tells it to stop; what it throws becomes
  // Result::Failed. It runs on the loader's thread, so all that it uses must be
  // its own. Where no thread can be made for it, that is what has failed.
  template <typename Read>
  void Start(Loader &loader, Read read) {
    Cancel();
    auto job = std::make_shared<Job>();
    result_ = job->result.get_future();
    job_ = job;
    pending_.emplace();
    try {
      loader.Do([job, read = std::move(read)] {
        if (job->cancelled.load(std::memory_order_relaxed)) return;
        try {
          job->result.set_value(read(job->cancelled));
        } catch (const std::exception &error) {
          job->result.set_value(Result::Failed(error.what()));
        }
      });
    } catch (const std::system_error &error) {
      job->result.set_value(Result::Failed(std::string("no thread to read it: ") + error.what()));
    }
  }

  // Does not wait for the reader: what it still brings is dropped.
  void Cancel() {
    if (job_) job_->cancelled.store(true, std::memory_order_relaxed);
    job_.reset();
    result_ = {};
    pending_.reset();
  }

  bool Pending() const { return result_.valid(); }

  // What was read, once. With `await` it waits for the reader.
  std::optional<Result> Take(bool await) {
    if (!result_.valid()) return std::nullopt;
    if (await) result_.wait();
    if (result_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return std::nullopt;
    pending_.reset();
    return result_.get();
  }

 private:
  struct Job {
    std::atomic<bool> cancelled{false};
    std::promise<Result> result;
  };

  std::shared_ptr<Job> job_;
  std::future<Result> result_;
  std::optional<PendingLoad> pending_;
};

}  // namespace lumivex
