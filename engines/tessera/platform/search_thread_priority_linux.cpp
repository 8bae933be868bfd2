#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "platform/search_thread_priority.h"

namespace tessera {
namespace {

// Of the niceness the system keeps one for each thread. A little more than that of others: at 5 a busy machine was seen
// to leave half as many turns to the search as at 0.
constexpr int kNice = 3;

}  // namespace

void LowerPriorityOfThisThread() {
  const sched_param no_priority{};
  sched_setscheduler(0, SCHED_BATCH, &no_priority);
  setpriority(PRIO_PROCESS, static_cast<id_t>(syscall(SYS_gettid)), kNice);
}

double ProcessorMillisecondsOfThisThread() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

}  // namespace tessera
