// A barrier against processor faults, for code that reads memory it does not own.
#pragma once

namespace vanta {

// Runs `body(param)`. False when the system caught a fault in it; the rest of the process goes on. A platform without
// such faults simply runs it.
bool RunGuarded(void (*body)(void *param), void *param);

}  // namespace vanta
