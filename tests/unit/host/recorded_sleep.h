// nanosleep as this program defines it: on a thread that records, it notes what it is asked for and returns at once.
#pragma once

#include <cstdint>
#include <vector>

namespace vanta_test {

// Records the sleeps of the thread that made it.
class SleepRecording {
 public:
  SleepRecording();
  ~SleepRecording();
  SleepRecording(const SleepRecording &) = delete;
  SleepRecording &operator=(const SleepRecording &) = delete;

  std::vector<int64_t> TakeNs();  // since the last call
};

}  // namespace vanta_test
