#include "platform/thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <system_error>

#include "fixtures/platform/system_facts.h"

using vanta::WorkerThread;

namespace {

TEST(WorkerThread, IdIsTheOperatingSystems) {
  EXPECT_EQ(vanta::CurrentThreadId(), vanta_test::SystemThreadId());
}

TEST(WorkerThread, EveryThreadHasItsOwnId) {
  uint64_t id = 0;
  WorkerThread thread;
  thread.Start([&] { id = vanta::CurrentThreadId(); });
  thread.Join();
  EXPECT_NE(id, 0u);
  EXPECT_NE(id, vanta::CurrentThreadId());
}

TEST(WorkerThread, RunsItsMainAndJoins) {
  std::atomic<bool> ran{false};
  WorkerThread thread;
  EXPECT_FALSE(thread.Joinable());
  thread.Start([&] { ran = true; });
  EXPECT_TRUE(thread.Joinable());
  thread.Join();
  EXPECT_TRUE(ran);
  EXPECT_FALSE(thread.Joinable());
}

TEST(WorkerThread, JoinByItselfThrows) {
  std::promise<bool> threw;
  WorkerThread thread;
  thread.Start([&] {
    try {
      thread.Join();
      threw.set_value(false);
    } catch (const std::system_error &) {
      threw.set_value(true);
    }
  });
  EXPECT_TRUE(threw.get_future().get());
  thread.Join();
}

TEST(WorkerThread, PriorityWithoutAThreadIsRefused) {
  WorkerThread thread;
  EXPECT_EQ(thread.SetPriority(vanta::kThreadPriorityHighest), 0);
}

}  // namespace
