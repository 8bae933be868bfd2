#include "platform/thread.h"

#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <system_error>
#include <thread>

#include <gtest/gtest.h>

using vanta::WorkerThread;

namespace {

// A worker that waits until it is let go.
struct WaitingWorker {
  WaitingWorker() {
    thread.Start([this] {
      id.set_value(vanta::CurrentThreadId());
      leave.get_future().wait();
    });
  }
  ~WaitingWorker() {
    leave.set_value();
    thread.Join();
  }
  std::promise<uint64_t> id;
  std::promise<void> leave;
  WorkerThread thread;
};

int NiceOfThread(uint64_t id) {
  return getpriority(PRIO_PROCESS, static_cast<id_t>(id));
}

TEST(WorkerThread, IdIsTheOperatingSystems) {
  EXPECT_EQ(vanta::CurrentThreadId(), static_cast<uint64_t>(syscall(SYS_gettid)));
}

TEST(WorkerThread, EveryThreadHasItsOwnId) {
  WaitingWorker worker;
  EXPECT_NE(worker.id.get_future().get(), vanta::CurrentThreadId());
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

TEST(WorkerThread, LowerPriorityIsGrantedToThatThreadOnly) {
  WaitingWorker worker;
  const uint64_t id = worker.id.get_future().get();
  const int own = NiceOfThread(vanta::CurrentThreadId());
  EXPECT_EQ(worker.thread.SetPriority(-2), 1);
  EXPECT_EQ(NiceOfThread(id), 10);
  EXPECT_EQ(NiceOfThread(vanta::CurrentThreadId()), own);
}

TEST(WorkerThread, HighestPriorityTellsWhetherItWasGranted) {
  WaitingWorker worker;
  const uint64_t id = worker.id.get_future().get();
  const int before = NiceOfThread(id);
  const int granted = worker.thread.SetPriority(vanta::kThreadPriorityHighest);
  EXPECT_EQ(NiceOfThread(id), granted == 1 ? -10 : before);
}

TEST(WorkerThread, PriorityBeyondTheSystemsRangeIsBounded) {
  WaitingWorker worker;
  const uint64_t id = worker.id.get_future().get();
  EXPECT_EQ(worker.thread.SetPriority(-500'000'000), 1);
  EXPECT_EQ(NiceOfThread(id), 19);
}

TEST(WorkerThread, PriorityRightAfterTheStartReachesTheThread) {
  for (int i = 0; i < 100; ++i) {
    WaitingWorker worker;
    EXPECT_EQ(worker.thread.SetPriority(-1), 1);
    EXPECT_EQ(NiceOfThread(worker.id.get_future().get()), 5);
  }
}

TEST(WorkerThread, PriorityWithoutAThreadIsRefused) {
  WorkerThread thread;
  EXPECT_EQ(thread.SetPriority(vanta::kThreadPriorityHighest), 0);
}

}  // namespace
