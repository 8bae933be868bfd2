// `Loading`: something that is being read on a thread of its own, so that no frame waits for a disk.
#pragma once

#include <atomic>
#include <chrono>
#include <exception>
#include <future>
#include <memory>
#include <optional>
#include <utility>

#include "settings/engine_control.h"

namespace lumivex {

// Destruction and a new start wait for the reader, which looks at its flag between pictures.
// Owns: the reader's thread. Threads: one at a time.
template <typename Result>
class Loading {
 public:
  Loading() = default;
  ~Loading() { Cancel(); }
  Loading(const Loading &) = delete;
  Loading &operator=(const Loading &) = delete;

  // `read` takes the flag that tells it to stop; what it throws becomes Result::Failed. Throws std::system_error when
  // no thread can be made.
  template <typename Read>
  void Start(Read read) {
    Cancel();
    cancelled_.store(false, std::memory_order_relaxed);
    result_ = std::async(std::launch::async, [this, read = std::move(read)]() -> Result {
      try {
        return read(cancelled_);
      } catch (const std::exception &error) {
        return Result::Failed(error.what());
      }
    });
  }

  void Cancel() {
    cancelled_.store(true, std::memory_order_relaxed);
    if (result_.valid()) result_.wait();
    result_ = {};
  }

  bool Pending() const { return result_.valid(); }

  // What was read, once. Waits only where the program wants frames to.
  std::optional<Result> Take() {
    if (result_.valid() && FramesAwaitLoads()) result_.wait();
    if (!result_.valid() || result_.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return std::nullopt;
    return result_.get();
  }

 private:
  std::atomic<bool> cancelled_{false};
  std::future<Result> result_;
};

}  // namespace lumivex
