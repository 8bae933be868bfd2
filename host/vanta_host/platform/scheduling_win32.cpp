#include "platform/scheduling.h"

#include <windows.h>

// libobs's header of threads needs others that not every package of its headers has.
extern "C" void os_set_thread_name(const char *name);

namespace vanta_host {

void NameThread(const char *name) {
  os_set_thread_name(name);
}

void BecomeBatchWork() {
  SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_LOWEST);
}

// Threads begin with the process's priority here.
void TakeSchedulingOfTheProcess() {}

}  // namespace vanta_host
