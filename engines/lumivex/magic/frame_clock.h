// `FrameClock`: time as the frames tell it, so that the same frames always show the same pictures.
#pragma once

#include <algorithm>
#include <cstdint>

namespace lumivex {

// Threads: one at a time.
class FrameClock {
 public:
  static constexpr int64_t kAssumedStep = 33333333;  // where timestamps stand still or go back
  static constexpr int64_t kLongestStep = 1000000000;

  // Nanoseconds from the frame before to this one; 0 for the first.
  int64_t Step(uint64_t timestamp) {
    if (!started_) {
      started_ = true;
      last_ = timestamp;
      return 0;
    }
    const int64_t step =
        timestamp > last_ ? static_cast<int64_t>(std::min(timestamp - last_, uint64_t{kLongestStep})) : kAssumedStep;
    last_ = timestamp;
    return step;
  }

 private:
  uint64_t last_ = 0;
  bool started_ = false;
};

}  // namespace lumivex
