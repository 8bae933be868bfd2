// Priorities are steps of nice.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <future>

#include "platform/thread.h"

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

}  // namespace
