#include <windows.h>

#include "platform/named_event.h"

namespace vanta {

namespace {

constexpr DWORD kAllAccess = 0x1F0003;  // EVENT_ALL_ACCESS

}  // namespace

bool SetNamedEvent(const std::string &name) {
  const HANDLE event = OpenEventA(kAllAccess, FALSE, name.c_str());
  if (!event) return false;
  const bool set = SetEvent(event) != FALSE;
  CloseHandle(event);
  return set;
}

}  // namespace vanta
