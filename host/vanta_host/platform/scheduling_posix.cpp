#include "platform/scheduling.h"

#include <sched.h>
#include <sys/resource.h>
#include <unistd.h>

#include <util/threading.h>

namespace vanta_host {

void NameThread(const char *name) {
  os_set_thread_name(name);
}

void BecomeBatchWork() {
  const sched_param no_priority{};
  sched_setscheduler(0, SCHED_BATCH, &no_priority);
}

// A thread begins with the policy and the niceness of the one that made it, here a worker. Leaving SCHED_BATCH or
// giving up a priority needs no right. The niceness of the process is that of its first thread.
void TakeSchedulingOfTheProcess() {
  const sched_param no_priority{};
  sched_setscheduler(0, SCHED_OTHER, &no_priority);
  setpriority(PRIO_PROCESS, 0, getpriority(PRIO_PROCESS, static_cast<id_t>(getpid())));
}

}  // namespace vanta_host
