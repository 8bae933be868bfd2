// Events that the host application makes and waits for, known to both sides by name alone.
#pragma once

#include <string>

namespace vanta {

// Opens the event, sets it and closes it again. False when there is none of that name, or it may not be set.
// Windows: a named event object. Elsewhere: a named POSIX semaphore, posted once; a leading slash is added where the
// name has none, and every other slash becomes an underscore, since semaphore names know no folders.
// Threads: any.
bool SetNamedEvent(const std::string &name);

}  // namespace vanta
