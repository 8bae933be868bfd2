// Which exceptions of Windows are faults of the processor. For the *_seh.cpp and *_veh.cpp files only.
#pragma once

#include <windows.h>

namespace vanta {

// Language exceptions, debuggers' traps and a stack that is used up are none of the guard's business: the first have
// handlers of their own, and after the last there is no stack to go on with.
inline bool IsProcessorFault(DWORD code) {
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

}  // namespace vanta
