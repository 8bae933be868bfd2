#include "platform/thread.h"

#include <windows.h>

#include <future>

#include <gtest/gtest.h>

#include "host/thread_description.h"

using vanta::WorkerThread;

namespace {

// A worker that waits until it is let go.
struct WaitingWorker {
  WaitingWorker() {
    thread.Start([this] {
      vanta::SetCurrentThreadName("waiting worker");
      id.set_value(vanta::CurrentThreadId());
      leave.get_future().wait();
    });
    system_id = static_cast<DWORD>(id.get_future().get());
  }
  ~WaitingWorker() {
    leave.set_value();
    thread.Join();
  }
  int Priority() const {
    const HANDLE handle = OpenThread(THREAD_QUERY_INFORMATION, FALSE, system_id);
    const int priority = GetThreadPriority(handle);
    CloseHandle(handle);
    return priority;
  }
  std::promise<uint64_t> id;
  std::promise<void> leave;
  DWORD system_id = 0;
  WorkerThread thread;
};

TEST(WorkerThread, HighestPriorityReachesTheThreadAndNoOther) {
  WaitingWorker worker;
  ASSERT_EQ(worker.Priority(), THREAD_PRIORITY_NORMAL);
  EXPECT_EQ(worker.thread.SetPriority(vanta::kThreadPriorityHighest), 1);
  EXPECT_EQ(worker.Priority(), THREAD_PRIORITY_HIGHEST);
  EXPECT_EQ(GetThreadPriority(GetCurrentThread()), THREAD_PRIORITY_NORMAL);
}

TEST(WorkerThread, PriorityRightAfterTheStartReachesTheThread) {
  for (int i = 0; i < 200; ++i) {
    WorkerThread thread;
    std::promise<void> leave;
    thread.Start([&] { leave.get_future().wait(); });
    EXPECT_EQ(thread.SetPriority(vanta::kThreadPriorityHighest), 1);
    leave.set_value();
    thread.Join();
  }
}

TEST(WorkerThread, PriorityThatTheSystemDoesNotKnowIsRefused) {
  WaitingWorker worker;
  EXPECT_EQ(worker.thread.SetPriority(99), 0);
  EXPECT_EQ(worker.Priority(), THREAD_PRIORITY_NORMAL);
}

TEST(WorkerThread, PriorityOfAThreadThatIsGoneIsRefused) {
  EXPECT_FALSE(vanta::SetThreadPriorityById(0xFFFFFFF0u, vanta::kThreadPriorityHighest));
}

TEST(WorkerThread, NameIsTheSystemsToo) {
  WaitingWorker worker;
  EXPECT_EQ(vanta_test::ThreadDescription(worker.system_id), L"waiting worker");
}

}  // namespace
