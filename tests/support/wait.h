// Waiting in tests: for a condition, never for a time. The watchdog is far longer than any wait that succeeds; running
// into it means that the condition never comes.
#pragma once

#include <chrono>
#include <functional>

namespace vanta_test {

inline constexpr std::chrono::seconds kWatchdog{30};

// Polls `condition`, giving the processor away in between. False, with a test failure, when the watchdog bites.
bool WaitUntil(const std::function<bool()> &condition, const char *what = "condition");

}  // namespace vanta_test
