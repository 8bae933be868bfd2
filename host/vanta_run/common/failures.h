// What went wrong on the way to several results: one that fails does not take the others with it.
#pragma once

#include <string>
#include <vector>

#include "common/failure.h"

namespace vanta_run {

// Threads: [control].
class Failures {
 public:
  // Runs the step and keeps what it throws. False when it threw.
  template <typename Step>
  bool Try(Step &&step) {
    try {
      step();
    } catch (const Failure &failure) {
      Add(failure);
      return false;
    }
    return true;
  }
  void Add(const Failure &failure) {
    if (lines_.empty()) code_ = failure.code();
    lines_.emplace_back(failure.what());
  }
  const std::vector<std::string> &lines() const { return lines_; }
  // All of them at once, with the code of the first. Does nothing where there are none.
  void ThrowThem() const {
    if (!lines_.empty()) throw Failure(code_, lines_);
  }

 private:
  ExitCode code_ = kExitOk;
  std::vector<std::string> lines_;
};

}  // namespace vanta_run
