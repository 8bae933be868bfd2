#include <windows.h>

#include "platform/thread.h"

namespace vanta {

uint64_t CurrentThreadId() {
  return GetCurrentThreadId();
}

// Opened by its id: where std::thread stands on POSIX threads its native handle is none of Windows.
bool SetThreadPriorityById(uint64_t id, int priority) {
  const HANDLE thread = OpenThread(THREAD_SET_INFORMATION, FALSE, static_cast<DWORD>(id));
  if (!thread) return false;
  const bool granted = SetThreadPriority(thread, priority) != FALSE;
  CloseHandle(thread);
  return granted;
}

}  // namespace vanta
