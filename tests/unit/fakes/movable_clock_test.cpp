#include "fakes/clock/movable_clock.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/clock.h"
#include "platform/cond_var.h"
#include "vanta_base/mutex.h"

namespace {

using std::chrono::milliseconds;
using vanta_test::MovableClock;

TEST(MovableClock, BothClocksStandStillUntilTheyAreMoved) {
  const int64_t steady = vanta::SteadyClockNs();
  const int64_t system = vanta::SystemTickMs();
  EXPECT_EQ(vanta::SteadyClockNs(), steady);
  MovableClock::Advance(milliseconds(60001));
  EXPECT_EQ(vanta::SteadyClockNs() - steady, 60'001'000'000);
  EXPECT_EQ(vanta::SystemTickMs() - system, 60001);
}

TEST(MovableClock, TimedWaitEndsWhenItsTimeIsUpAndNotBefore) {
  vanta::Mutex mutex;
  vanta::CondVar cond;
  std::atomic<bool> ended{false};
  bool notified = true;
  std::thread sleeper([&] {
    vanta::MutexLock lock(mutex);
    notified = cond.WaitFor(mutex, milliseconds(1000));
    ended = true;
  });
  ASSERT_TRUE(MovableClock::WaitForSleepers(1));
  MovableClock::Advance(milliseconds(999));
  EXPECT_FALSE(ended);
  MovableClock::Advance(milliseconds(1));
  sleeper.join();
  EXPECT_FALSE(notified);
}

TEST(MovableClock, NotificationEndsATimedWaitWithTimeLeft) {
  vanta::Mutex mutex;
  vanta::CondVar cond;
  bool notified = false;
  std::thread sleeper([&] {
    vanta::MutexLock lock(mutex);
    notified = cond.WaitFor(mutex, milliseconds(1000));
  });
  ASSERT_TRUE(MovableClock::WaitForSleepers(1));
  cond.NotifyAll();
  sleeper.join();
  EXPECT_TRUE(notified);
}

TEST(MovableClock, NoNotificationIsLostBetweenTwoLooksAtTheClock) {
  for (int i = 0; i < 2000; ++i) {
    vanta::Mutex mutex;
    vanta::CondVar cond;
    std::thread sleeper([&] {
      vanta::MutexLock lock(mutex);
      cond.WaitFor(mutex, milliseconds(1000));
    });
    ASSERT_TRUE(MovableClock::WaitForSleepers(1));
    cond.NotifyOne();
    sleeper.join();
  }
}

}  // namespace
