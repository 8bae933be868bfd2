#include "platform/fault_guard.h"

#include <windows.h>

#include <csetjmp>

namespace vanta {

namespace {

// Language exceptions, debuggers' traps and a stack that is used up are none of the guard's business: the first have
// handlers of their own, and after the last there is no stack to go on with.
bool IsProcessorFault(DWORD code) {
  switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_IN_PAGE_ERROR:
    case EXCEPTION_DATATYPE_MISALIGNMENT:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
      return true;
    default:
      return false;
  }
}

}  // namespace

#if defined(_MSC_VER)

// Microsoft's structured exception handling reaches C++.
bool RunGuardedBody(GuardedBody &body) {
  __try {
    body.Run();
    return true;
  } __except (IsProcessorFault(GetExceptionCode()) ? EXCEPTION_EXECUTE_HANDLER : EXCEPTION_CONTINUE_SEARCH) {
    return false;
  }
}

#else

// Compilers without __try: a vectored handler sees the fault first and jumps back to where the guarded call began.
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

bool RunGuardedBody(GuardedBody &body) {
  static const FaultHandler handler;
  Guard guard;
  if (setjmp(guard.back) != 0) return false;
  body.Run();
  return true;
}

#endif

}  // namespace vanta
