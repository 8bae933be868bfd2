// Microsoft's compiler, whose structured exception handling reaches C++.
#include <windows.h>

#include "platform/fault_guard.h"
#include "platform/processor_fault_win32.h"

namespace vanta {

bool RunGuarded(void (*body)(void *param), void *param) {
  __try {
    body(param);
    return true;
  } __except (IsProcessorFault(GetExceptionCode()) ? EXCEPTION_EXECUTE_HANDLER : EXCEPTION_CONTINUE_SEARCH) {
    return false;
  }
}

}  // namespace vanta
