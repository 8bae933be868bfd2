// The module's time sources. Tests link a clock of their own in place of clock.cpp and move it by hand.
// Threads: any.
#pragma once

#include <cstdint>

namespace vanta {

int64_t SteadyClockNs();  // steady clock, nanoseconds
inline int64_t SteadyClockUs() {
  return SteadyClockNs() / 1000;
}
// The host's clock, nanoseconds: the same as the steady one, unless the host plays a file at a pace of its own.
int64_t HostClockNs();
// System clock in 100 ns ticks divided by 10000: milliseconds. Frame ages and the minute rules use it.
int64_t SystemTickMs();

}  // namespace vanta
