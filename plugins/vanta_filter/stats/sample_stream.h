// Values of one kind, gathered on the frame path and taken away once a second.
#pragma once

#include <algorithm>
#include <limits>
#include <vector>

#include "vanta_base/mutex.h"

namespace vanta {

// Milliseconds, or faces. All 0 over no values.
struct StreamSummary {
  float avg = 0;
  float max = std::numeric_limits<float>::min();
  float min = std::numeric_limits<float>::max();
};

// Single precision throughout, as the report has it.
inline StreamSummary Summarise(const std::vector<float> &values) {
  if (values.empty()) return {0, 0, 0};
  StreamSummary summary;
  float sum = 0;
  summary.max = summary.min = values.front();
  for (const float value : values) {
    sum += value;
    summary.max = std::max(summary.max, value);
    summary.min = std::min(summary.min, value);
  }
  summary.avg = sum / static_cast<float>(values.size());
  return summary;
}

// Owns: the values since the last Take. Threads: any.
class SampleStream {
 public:
  // Room for an interval, so that Add does not allocate in the steady state.
  static constexpr size_t kReserved = 512;

  SampleStream() { values_.reserve(kReserved); }

  void Add(float value) VANTA_EXCLUDES(mutex_) {
    const MutexLock held(mutex_);
    values_.push_back(value);
  }
  void Clear() VANTA_EXCLUDES(mutex_) {
    const MutexLock held(mutex_);
    values_.clear();
  }
  // The values go to `emptied`, which must be empty, and its memory comes back for the next ones. Their summary is made
  // after the lock is free again, so that the frame path never waits for it.
  StreamSummary Take(std::vector<float> &emptied) VANTA_EXCLUDES(mutex_) {
    {
      const MutexLock held(mutex_);
      values_.swap(emptied);
    }
    return Summarise(emptied);
  }

 private:
  Mutex mutex_;
  std::vector<float> values_ VANTA_GUARDED_BY(mutex_);
};

}  // namespace vanta
