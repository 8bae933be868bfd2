// The module's clocks under the test's hand: linked in place of platform/clock.cpp. Time stands still until a test
// moves it, so no figure in an assertion depends on the machine.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace vanta_test {

// Set where the movable clock is linked; null where the module keeps its own.
inline std::atomic<void (*)(std::chrono::nanoseconds)> clock_mover{nullptr};

// Threads: any.
class MovableClock {
 public:
  // 1,000 s on the steady clock and 1,700,000,000,000 ms on the system clock, as a process begins.
  static void Reset();
  static void Advance(std::chrono::nanoseconds by);  // both clocks; ends timed waits whose time is up
  static void SetSteadyNs(int64_t now);
  static void SetSystemMs(int64_t now);
  static int64_t SteadyNs();
  static int64_t SystemMs();

  // The next `count` notifications of all condition variables reach nobody, as if they had come just before the wait.
  static void LoseNotifications(int count);

  // Timed waits (CondVar::WaitFor) under way, and how many have begun so far.
  static size_t Sleepers();
  static uint64_t WaitsBegun();
  // Waits until `count` timed waits stand; only then does an advance reach them. False fails the test.
  static bool WaitForSleepers(size_t count);
  // Waits until a sleeper has looked at the time as it now is. Without a sleeper the test fails.
  static bool LetSleeperLook();
  // Advances by `by`, then waits until the one sleeper has worked and begun its next wait.
  static bool AdvanceAndLetOneSleeperWork(std::chrono::nanoseconds by);
};

}  // namespace vanta_test
