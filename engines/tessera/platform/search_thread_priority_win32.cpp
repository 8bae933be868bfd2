#include <windows.h>

#include "platform/search_thread_priority.h"

namespace tessera {
namespace {

double Milliseconds(const FILETIME &time) {
  constexpr double kPerMillisecond = 1e4;  // units of 100 nanoseconds
  return (static_cast<double>(time.dwHighDateTime) * 4294967296.0 + static_cast<double>(time.dwLowDateTime)) /
         kPerMillisecond;
}

}  // namespace

void LowerPriorityOfThisThread() {
  SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_BELOW_NORMAL);
}

double ProcessorMillisecondsOfThisThread() {
  FILETIME created;
  FILETIME ended;
  FILETIME kernel;
  FILETIME user;
  if (!GetThreadTimes(GetCurrentThread(), &created, &ended, &kernel, &user)) return 0;
  return Milliseconds(kernel) + Milliseconds(user);
}

}  // namespace tessera
