#include "support/wait.h"

#include <gtest/gtest.h>

#include <thread>

namespace vanta_test {

namespace {

constexpr std::chrono::microseconds kPollInterval{200};

}  // namespace

bool WaitUntil(const std::function<bool()> &condition, const char *what) {
  const auto deadline = std::chrono::steady_clock::now() + kWatchdog;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      ADD_FAILURE() << "waited in vain for: " << what;
      return false;
    }
    // Not a mere yield: a condition that takes a lock would keep it from the very thread that it waits for.
    std::this_thread::sleep_for(kPollInterval);
  }
  return true;
}

}  // namespace vanta_test
