#include "support/wait.h"

#include <gtest/gtest.h>

#include <thread>

namespace vanta_test {

bool WaitUntil(const std::function<bool()> &condition, const char *what) {
  const auto deadline = std::chrono::steady_clock::now() + kWatchdog;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) {
      ADD_FAILURE() << "waited in vain for: " << what;
      return false;
    }
    std::this_thread::yield();
  }
  return true;
}

}  // namespace vanta_test
