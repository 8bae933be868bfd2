// A gift is an effect with an end: when its time is over, the host's event is set.
#pragma once

#include <cstdint>
#include <string>

namespace vanta {

// Reports the gift and starts a thread that sets the event `display_time` milliseconds from now: at once for values
// below 1. The thread depends on nothing but its copies. Throws std::system_error when it cannot be started.
// Threads: any.
void ExecGiftCallBack(int64_t display_time, const std::string &event_name);

// Sets the host's event and says so, or that there is none, in the words of `step`. Threads: any.
void SetHostEvent(const char *step, const std::string &event_name);

}  // namespace vanta
