#include "recorded_sleep.h"

#include <cerrno>
#include <ctime>
#include <utility>

namespace {

thread_local bool recording = false;
thread_local std::vector<int64_t> sleeps_ns;

}  // namespace

namespace vanta_test {

SleepRecording::SleepRecording() {
  recording = true;
}
SleepRecording::~SleepRecording() {
  recording = false;
}

std::vector<int64_t> SleepRecording::TakeNs() {
  return std::exchange(sleeps_ns, {});
}

}  // namespace vanta_test

extern "C" __attribute__((visibility("default"))) int nanosleep(const timespec *time, timespec *left) {
  if (recording) {
    sleeps_ns.push_back(int64_t{time->tv_sec} * 1000000000 + time->tv_nsec);
    return 0;
  }
  errno = clock_nanosleep(CLOCK_REALTIME, 0, time, left);
  return errno == 0 ? 0 : -1;
}
