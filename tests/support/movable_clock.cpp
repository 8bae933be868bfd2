#include "support/movable_clock.h"

#include <atomic>

#include "module/mutex.h"
#include "platform/clock.h"
#include "support/wait.h"

namespace {

constexpr int64_t kSteadyStartNs = 1'000'000'000'000;
constexpr int64_t kSystemStartMs = 1'700'000'000'000;

std::atomic<int64_t> steady_ns{kSteadyStartNs};
std::atomic<int64_t> system_ns{kSystemStartMs * 1'000'000};
std::atomic<size_t> sleepers{0};
std::atomic<uint64_t> waits_begun{0};

struct MoverEntry {
  MoverEntry() { vanta_test::clock_mover = &vanta_test::MovableClock::Advance; }
};
const MoverEntry mover_entry;

}  // namespace

namespace vanta {

int64_t SteadyClockNs() {
  return steady_ns.load();
}

int64_t SystemTickMs() {
  return system_ns.load() / 1'000'000;
}

// The wait looks at the movable clock each millisecond of real time; a notification ends it at once.
bool CondVar::WaitFor(Mutex &mutex, std::chrono::milliseconds timeout) {
  const int64_t deadline = steady_ns.load() + std::chrono::nanoseconds(timeout).count();
  std::unique_lock<std::mutex> held(mutex.mutex_, std::adopt_lock);
  ++sleepers;
  ++waits_begun;
  bool notified = false;
  while (!notified && steady_ns.load() < deadline) {
    notified = cond_.wait_for(held, std::chrono::milliseconds(1)) == std::cv_status::no_timeout;
  }
  --sleepers;
  held.release();
  return notified;
}

}  // namespace vanta

namespace vanta_test {

void MovableClock::Reset() {
  steady_ns = kSteadyStartNs;
  system_ns = kSystemStartMs * 1'000'000;
}

void MovableClock::Advance(std::chrono::nanoseconds by) {
  system_ns += by.count();
  steady_ns += by.count();
}

void MovableClock::SetSteadyNs(int64_t now) {
  steady_ns = now;
}

void MovableClock::SetSystemMs(int64_t now) {
  system_ns = now * 1'000'000;
}

int64_t MovableClock::SteadyNs() {
  return steady_ns;
}

int64_t MovableClock::SystemMs() {
  return system_ns / 1'000'000;
}

size_t MovableClock::Sleepers() {
  return sleepers;
}

uint64_t MovableClock::WaitsBegun() {
  return waits_begun;
}

bool MovableClock::WaitForSleepers(size_t count) {
  return WaitUntil([&] { return sleepers.load() >= count; }, "a timed wait");
}

bool MovableClock::AdvanceAndLetOneSleeperWork(std::chrono::nanoseconds by) {
  if (!WaitForSleepers(1)) return false;
  const uint64_t before = waits_begun;
  Advance(by);
  return WaitUntil([&] { return waits_begun.load() > before; }, "the sleeper's next timed wait");
}

}  // namespace vanta_test
