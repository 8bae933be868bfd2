// Compilers without __try: a vectored handler sees the fault first and jumps back to where the guarded call began.
#include <csetjmp>

#include <windows.h>

#include "platform/fault_guard.h"
#include "platform/processor_fault_win32.h"

namespace vanta {

namespace {

struct Guard;
// The innermost guard of this thread; faults of other threads pass.
thread_local Guard *innermost = nullptr;

// Left by return, by an exception or by the jump: the former guard is back each time.
struct Guard {
  Guard() { innermost = this; }
  ~Guard() { innermost = outer; }
  Guard(const Guard &) = delete;
  Guard &operator=(const Guard &) = delete;

  Guard *const outer = innermost;
  std::jmp_buf back;
};

LONG CALLBACK JumpBack(EXCEPTION_POINTERS *fault) {
  // The code first: every exception of the process comes by, and a thread's first look at `innermost` takes memory,
  // which the thread may not be able to get just then.
  if (!IsProcessorFault(fault->ExceptionRecord->ExceptionCode) || !innermost) return EXCEPTION_CONTINUE_SEARCH;
  std::longjmp(innermost->back, 1);
}

// Stands as long as the module is loaded: a handler for each frame would take the system's lock on them each time.
class FaultHandler {
 public:
  FaultHandler() : handler_(AddVectoredExceptionHandler(1, JumpBack)) {}
  ~FaultHandler() { RemoveVectoredExceptionHandler(handler_); }
  FaultHandler(const FaultHandler &) = delete;
  FaultHandler &operator=(const FaultHandler &) = delete;

 private:
  PVOID handler_;
};

}  // namespace

bool RunGuarded(void (*body)(void *param), void *param) {
  static const FaultHandler handler;
  Guard guard;
  if (setjmp(guard.back) != 0) return false;
  body(param);
  return true;
}

}  // namespace vanta
