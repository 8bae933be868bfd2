// How the system sees the search thread. Linux's part of it.
#include "platform/search_thread_priority.h"

#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>

#include <algorithm>
#include <thread>

namespace {

TEST(SearchThreadPriority, IsBatchWorkThatIsALittleNiceAndNeverIdleWork) {
  std::thread([] {
    const int before = getpriority(PRIO_PROCESS, 0);  // of this thread
    tessera::LowerPriorityOfThisThread();
    EXPECT_EQ(sched_getscheduler(0), SCHED_BATCH);
    const int nice = getpriority(PRIO_PROCESS, 0);
    EXPECT_GE(nice, std::min(before + 1, 19));
    EXPECT_LE(nice, before + 5);
  }).join();
}

TEST(SearchThreadPriority, LeavesOtherThreadsAsTheyAre) {
  const int before = sched_getscheduler(0);
  std::thread([] { tessera::LowerPriorityOfThisThread(); }).join();
  EXPECT_EQ(sched_getscheduler(0), before);
}

}  // namespace
