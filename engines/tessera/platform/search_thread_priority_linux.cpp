#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include "platform/search_thread_priority.h"

namespace tessera {
namespace {

// Of the niceness the system keeps one for each thread. A little more than that of others: with 5 a busy machine was
// seen to leave half as many turns to the search as with 0.
constexpr int kNicer = 3;
constexpr int kMostNice = 19;

}  // namespace

void LowerPriorityOfThisThread() {
  const sched_param no_priority{};
  sched_setscheduler(0, SCHED_BATCH, &no_priority);
  const auto thread = static_cast<id_t>(syscall(SYS_gettid));
  setpriority(PRIO_PROCESS, thread, std::min(getpriority(PRIO_PROCESS, thread) + kNicer, kMostNice));
}

double ProcessorMillisecondsOfThisThread() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

}  // namespace tessera
