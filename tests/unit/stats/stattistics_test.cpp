#include "stats/stattistics.h"

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/clock/movable_clock.h"
#include "fixtures/process/wait.h"

using std::chrono::milliseconds;
using vanta::Stattistics;
using vanta_test::MovableClock;
using vanta_test::WaitUntil;

namespace {

using Tick = std::tuple<bool, float, float>;

// Notes the ticks of one Stattistics.
class Ticks {
 public:
  Stattistics::Callback Callback() {
    return [this](bool running, float in_count, float out_count) {
      const std::lock_guard<std::mutex> held(mutex_);
      ticks_.emplace_back(running, in_count, out_count);
    };
  }
  std::vector<Tick> All() {
    const std::lock_guard<std::mutex> held(mutex_);
    return ticks_;
  }
  bool WaitFor(size_t count) {
    return WaitUntil([&] { return All().size() >= count; }, "a tick");
  }

 private:
  std::mutex mutex_;
  std::vector<Tick> ticks_;
};

// Moves the clock on once the thread waits; when it waits again, it has done what the time asked of it.
void Pass(milliseconds time) {
  ASSERT_TRUE(MovableClock::AdvanceAndLetOneSleeperWork(time));
}
// The same where the time is too short for the wait to end.
void PassWithin(milliseconds time) {
  ASSERT_TRUE(MovableClock::WaitForSleepers(1));
  MovableClock::Advance(time);
}

TEST(Stattistics, FirstTickOfASilentSourceComesOneSecondAfterTheFirstTen) {
  Ticks ticks;
  Stattistics tick(ticks.Callback());
  Pass(milliseconds(10'000));
  EXPECT_TRUE(ticks.All().empty());
  Pass(milliseconds(1'000));
  EXPECT_EQ(ticks.All(), (std::vector<Tick>{{true, 0.0f, 0.0f}}));
}

TEST(Stattistics, IncomingFramesDoNotEndTheFirstTenSeconds) {
  Ticks ticks;
  Stattistics tick(ticks.Callback());
  PassWithin(milliseconds(9'999));
  tick.in_count = 5;
  ASSERT_TRUE(MovableClock::LetSleeperLook());
  EXPECT_TRUE(ticks.All().empty());
  EXPECT_EQ(MovableClock::WaitsBegun(), 1u);
  MovableClock::Advance(milliseconds(1));
  ASSERT_TRUE(ticks.WaitFor(1));
  EXPECT_EQ(ticks.All().front(), (Tick{true, 5.0f, 0.0f}));
}

TEST(Stattistics, TicksComeOnceASecondWithTheFramesOfThatSecond) {
  Ticks ticks;
  Stattistics tick(ticks.Callback());
  Pass(milliseconds(10'000));
  for (uint32_t second = 1; second <= 3; ++second) {
    tick.in_count += 30 + second;
    tick.out_count += 20 + second;
    Pass(milliseconds(1'000));
  }
  EXPECT_EQ(ticks.All(), (std::vector<Tick>{{true, 31.0f, 21.0f}, {true, 32.0f, 22.0f}, {true, 33.0f, 23.0f}}));
}

TEST(Stattistics, IncomingFramesDoNotEndASecondEarly) {
  Ticks ticks;
  Stattistics tick(ticks.Callback());
  Pass(milliseconds(10'000));
  PassWithin(milliseconds(999));
  tick.in_count = 9;
  ASSERT_TRUE(MovableClock::LetSleeperLook());
  EXPECT_TRUE(ticks.All().empty());
  EXPECT_EQ(MovableClock::WaitsBegun(), 2u);
  Pass(milliseconds(1));
  EXPECT_EQ(ticks.All(), (std::vector<Tick>{{true, 9.0f, 0.0f}}));
}

TEST(Stattistics, FramesDuringATickAreNotCountedInTheNext) {
  std::optional<Stattistics> tick;
  std::atomic<int> calls{0};
  tick.emplace([&](bool, float, float) {
    if (++calls == 1) tick->in_count += 7;
  });
  Pass(milliseconds(10'000));
  Pass(milliseconds(1'000));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(tick->in_count, 0u);
}

TEST(Stattistics, StopInTheFirstTenSecondsEndsTheThreadAtOnce) {
  Ticks ticks;
  {
    Stattistics tick(ticks.Callback());
    ASSERT_TRUE(MovableClock::WaitForSleepers(1));
    tick.RequestStop();
    EXPECT_TRUE(WaitUntil([] { return MovableClock::Sleepers() == 0; }, "the end of the wait"));
  }
  EXPECT_TRUE(ticks.All().empty());
}

TEST(Stattistics, StopBetweenTicksEndsTheThreadWithoutATick) {
  Ticks ticks;
  {
    Stattistics tick(ticks.Callback());
    Pass(milliseconds(10'000));
    tick.in_count = 3;
    tick.RequestStop();
  }
  EXPECT_TRUE(ticks.All().empty());
}

TEST(Stattistics, SecondStopIsHarmless) {
  Ticks ticks;
  Stattistics tick(ticks.Callback());
  tick.RequestStop();
  tick.RequestStop();
}

TEST(Stattistics, StopDoesNotWaitForATickInProgress) {
  std::promise<void> entered, leave;
  Stattistics tick([&, left = leave.get_future().share()](bool, float, float) {
    entered.set_value();
    left.wait();
  });
  Pass(milliseconds(10'000));
  PassWithin(milliseconds(1'000));
  entered.get_future().wait();
  auto stopped = std::async(std::launch::async, [&] { tick.RequestStop(); });
  EXPECT_EQ(stopped.wait_for(vanta_test::kWatchdog), std::future_status::ready);
  leave.set_value();
}

TEST(Stattistics, DestructionWaitsForATickInProgress) {
  std::promise<void> entered, leave;
  std::atomic<bool> left{false};
  auto tick = std::make_unique<Stattistics>([&, go = leave.get_future().share()](bool, float, float) {
    entered.set_value();
    go.wait();
    left = true;
  });
  Pass(milliseconds(10'000));
  PassWithin(milliseconds(1'000));
  entered.get_future().wait();
  std::thread releaser([&] { leave.set_value(); });
  tick.reset();
  EXPECT_TRUE(left);
  releaser.join();
}

}  // namespace
