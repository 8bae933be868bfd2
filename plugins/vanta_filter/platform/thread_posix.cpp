#include <sys/resource.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>

#include "platform/thread.h"

namespace vanta {

namespace {

// One step of the thread priorities of Windows is five steps of nice.
constexpr int kNicePerStep = 5;
constexpr int kNiceLowest = 19;
constexpr int kNiceHighest = -20;

int NiceOf(int priority) {
  const int bounded = std::clamp(priority, -kNiceLowest, kNiceLowest);  // keeps the product in range
  return std::clamp(-bounded * kNicePerStep, kNiceHighest, kNiceLowest);
}

}  // namespace

uint64_t CurrentThreadId() {
  return static_cast<uint64_t>(syscall(SYS_gettid));
}

// The niceness of one thread, as Linux has it; without the right to raise it the call is refused, which harms nobody.
bool SetThreadPriorityById(uint64_t id, int priority) {
  return setpriority(PRIO_PROCESS, static_cast<id_t>(id), NiceOf(priority)) == 0;
}

}  // namespace vanta
