#include "platform/fault_guard.h"

namespace vanta {

// A fault here is a signal to the whole process: nothing to catch.
bool RunGuardedBody(GuardedBody &body) {
  body.Run();
  return true;
}

}  // namespace vanta
