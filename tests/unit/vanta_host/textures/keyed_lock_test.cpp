#include "textures/keyed_lock.h"

#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "fixtures/process/wait.h"

namespace {

using namespace vanta_host;

constexpr uint64_t kEngine = 1;
constexpr uint64_t kHost = 2;
constexpr uint64_t kThird = 3;

class KeyedLockOfTwo : public testing::Test {
 protected:
  KeyedLockOfTwo() {
    lock.Join(kEngine);
    lock.Join(kHost);
  }
  KeyedLock lock;
};

TEST_F(KeyedLockOfTwo, IsFreeWithTheKeyZeroAtFirst) {
  EXPECT_EQ(lock.Acquire(kHost, 1, 0), kKeyedTimeout);
  EXPECT_EQ(lock.Acquire(kHost, 0, 0), kKeyedSuccess);
}

TEST_F(KeyedLockOfTwo, IsGivenToNobodyElseWhileHeld) {
  ASSERT_EQ(lock.Acquire(kEngine, 0, 0), kKeyedSuccess);
  EXPECT_EQ(lock.Acquire(kHost, 0, 0), kKeyedTimeout);
}

TEST_F(KeyedLockOfTwo, IsGivenForTheKeyThatItWasReleasedWith) {
  ASSERT_EQ(lock.Acquire(kEngine, 0, 0), kKeyedSuccess);
  ASSERT_EQ(lock.Release(kEngine, 7), kKeyedSuccess);
  EXPECT_EQ(lock.Acquire(kHost, 0, 0), kKeyedTimeout);
  EXPECT_EQ(lock.Acquire(kHost, 7, 0), kKeyedSuccess);
}

TEST_F(KeyedLockOfTwo, TimesOutNotBeforeTheTimeIsUp) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(lock.Acquire(kHost, 1, 30), kKeyedTimeout);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(30));
}

TEST_F(KeyedLockOfTwo, IsReleasedByItsHolderAlone) {
  EXPECT_EQ(lock.Release(kEngine, 1), kKeyedMisuse);
  ASSERT_EQ(lock.Acquire(kEngine, 0, 0), kKeyedSuccess);
  EXPECT_EQ(lock.Release(kHost, 1), kKeyedMisuse);
  EXPECT_TRUE(lock.Holds(kEngine));
}

TEST_F(KeyedLockOfTwo, IsNotAcquiredTwice) {
  ASSERT_EQ(lock.Acquire(kEngine, 0, 0), kKeyedSuccess);
  EXPECT_EQ(lock.Acquire(kEngine, 0, kKeyedInfinite), kKeyedMisuse);
}

TEST_F(KeyedLockOfTwo, WakesWhoeverWaitsForItsKey) {
  ASSERT_EQ(lock.Acquire(kEngine, 0, 0), kKeyedSuccess);
  std::thread waiting([&] { EXPECT_EQ(lock.Acquire(kHost, 5, kKeyedInfinite), kKeyedSuccess); });
  EXPECT_EQ(lock.Release(kEngine, 5), kKeyedSuccess);
  waiting.join();
  EXPECT_TRUE(lock.Holds(kHost));
}

TEST_F(KeyedLockOfTwo, AbandonedByItsHolderIsAnErrorWithoutAWait) {
  ASSERT_EQ(lock.Acquire(kEngine, 0, 0), kKeyedSuccess);
  lock.Leave(kEngine);
  EXPECT_EQ(lock.Acquire(kHost, 0, kKeyedInfinite), kKeyedAbandoned);
}

TEST_F(KeyedLockOfTwo, AbandonedWhileSomebodyWaitsEndsTheWait) {
  ASSERT_EQ(lock.Acquire(kEngine, 0, 0), kKeyedSuccess);
  std::thread waiting([&] { EXPECT_EQ(lock.Acquire(kHost, 1, kKeyedInfinite), kKeyedAbandoned); });
  lock.Leave(kEngine);
  waiting.join();
}

TEST_F(KeyedLockOfTwo, WithAKeyThatNobodyIsLeftToReleaseIsAnErrorWithoutAWait) {
  lock.Leave(kEngine);
  EXPECT_EQ(lock.Acquire(kHost, 1, kKeyedInfinite), kKeyedAbandoned);
}

TEST_F(KeyedLockOfTwo, LeftFreeByTheOtherGoesOnWithItsKey) {
  lock.Leave(kEngine);
  EXPECT_EQ(lock.Acquire(kHost, 0, 0), kKeyedSuccess);
  EXPECT_EQ(lock.Release(kHost, 3), kKeyedSuccess);
  EXPECT_EQ(lock.Acquire(kHost, 3, 0), kKeyedSuccess);
}

TEST(KeyedLock, WithoutAPeerYetWaitsForOne) {
  KeyedLock lock;
  lock.Join(kEngine);
  EXPECT_EQ(lock.Acquire(kEngine, 1, 1), kKeyedTimeout);
}

// Each party takes its turn only after the one before it.
TEST(KeyedLock, OrdersThreePartiesByTheirKeys) {
  constexpr uint64_t kRounds = 2000;
  KeyedLock lock;
  for (const uint64_t party : {kEngine, kHost, kThird}) lock.Join(party);
  std::vector<uint64_t> turns;
  std::vector<std::thread> threads;
  for (const uint64_t party : {kEngine, kHost, kThird}) {
    threads.emplace_back([&, party] {
      for (uint64_t round = 0; round < kRounds; ++round) {
        const uint64_t key = round * 3 + party - 1;
        if (lock.Acquire(party, key, kKeyedInfinite) != kKeyedSuccess) return;
        turns.push_back(key);
        lock.Release(party, key + 1);
      }
    });
  }
  for (std::thread &thread : threads) thread.join();
  ASSERT_EQ(turns.size(), kRounds * 3);
  for (uint64_t turn = 0; turn < turns.size(); ++turn) ASSERT_EQ(turns[turn], turn);
}

}  // namespace
