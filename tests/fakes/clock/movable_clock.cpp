#include "fakes/clock/movable_clock.h"

#include <array>
#include <atomic>
#include <cstdint>

#include "fakes/fresh_start.h"
#include "fixtures/process/wait.h"
#include "platform/clock.h"
#include "platform/cond_var.h"
#include "vanta_base/mutex.h"

namespace {

constexpr int64_t kSteadyStartNs = 1'000'000'000'000;
constexpr int64_t kSystemStartMs = 1'700'000'000'000;

std::atomic<int64_t> steady_ns{kSteadyStartNs};
std::atomic<int64_t> system_ns{kSystemStartMs * 1'000'000};
std::atomic<size_t> sleepers{0};
std::atomic<uint64_t> waits_begun{0};
std::atomic<uint64_t> looks{0};  // of all sleepers at the time

// Notifications so far, by the condition variable's address. Each takes the first free place from its own on; only
// where none of the next is free do two share one and wake each other's waiters, which looks like a wake without cause.
struct Notifications {
  std::atomic<const void *> owner{nullptr};
  std::atomic<uint64_t> count{0};
};
std::array<Notifications, 4096> notifications{};
constexpr size_t kPlacesTried = 64;

std::atomic<uint64_t> &NotificationsOf(const void *cond) {
  const size_t home = reinterpret_cast<uintptr_t>(cond) / 8;
  for (size_t i = 0; i < kPlacesTried; ++i) {
    Notifications &place = notifications[(home + i) % notifications.size()];
    const void *owner = nullptr;
    if (place.owner.compare_exchange_strong(owner, cond) || owner == cond) return place.count;
  }
  return notifications[home % notifications.size()].count;
}

std::atomic<int> to_lose{0};

bool LoseThisOne() {
  int left = to_lose;
  while (left > 0 && !to_lose.compare_exchange_weak(left, left - 1)) {
  }
  return left > 0;
}

struct MoverEntry {
  MoverEntry() { vanta_test::clock_mover = &vanta_test::MovableClock::Advance; }
};
const MoverEntry mover_entry;

}  // namespace

namespace vanta {

int64_t SteadyClockNs() {
  return steady_ns.load();
}

int64_t HostClockNs() {
  return steady_ns.load();
}

int64_t SystemTickMs() {
  return system_ns.load() / 1'000'000;
}

// The wait looks at the movable clock each millisecond of real time; a notification ends it at once. One that falls
// between two looks, when nobody waits on the real condition variable, is found by its count.
bool CondVar::WaitFor(Mutex &mutex, std::chrono::milliseconds timeout) {
  const int64_t deadline = steady_ns.load() + std::chrono::nanoseconds(timeout).count();
  std::unique_lock<std::mutex> held(mutex.mutex_, std::adopt_lock);
  const std::atomic<uint64_t> &count = NotificationsOf(this);
  const uint64_t before = count;
  ++waits_begun;  // before the sleeper shows: who has seen it has it counted
  ++sleepers;
  bool notified = false;
  while (!notified && steady_ns.load() < deadline) {
    cond_.wait_for(held, std::chrono::milliseconds(1));
    notified = count != before;
    ++looks;
  }
  --sleepers;
  held.release();
  return notified;
}

void CondVar::NotifyOne() {
  if (LoseThisOne()) return;
  ++NotificationsOf(this);
  cond_.notify_one();
}

void CondVar::NotifyAll() {
  if (LoseThisOne()) return;
  ++NotificationsOf(this);
  cond_.notify_all();
}

}  // namespace vanta

namespace vanta_test {

void MovableClock::Reset() {
  steady_ns = kSteadyStartNs;
  system_ns = kSystemStartMs * 1'000'000;
}

const FreshStart fresh_start(&MovableClock::Reset);

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

void MovableClock::LoseNotifications(int count) {
  to_lose = count;
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

bool MovableClock::LetSleeperLook() {
  const uint64_t before = looks;
  // The first look may have begun before the time was moved.
  return WaitUntil([&] { return looks.load() >= before + 2; }, "a sleeper's look at the time");
}

bool MovableClock::AdvanceAndLetOneSleeperWork(std::chrono::nanoseconds by) {
  if (!WaitForSleepers(1)) return false;
  const uint64_t before = waits_begun;
  Advance(by);
  return WaitUntil([&] { return waits_begun.load() > before; }, "the sleeper's next timed wait");
}

}  // namespace vanta_test
