// The supervision's tie to the session.
#pragma once

namespace vanta_host {

// Ends the watchdog's thread; the next worker starts it again.
void StopWatchdog();

}  // namespace vanta_host
