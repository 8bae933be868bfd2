#include "platform/fault_guard.h"

namespace vanta {

// A fault here is a signal to the whole process: nothing to catch.
bool RunGuarded(void (*body)(void *param), void *param) {
  body(param);
  return true;
}

}  // namespace vanta
