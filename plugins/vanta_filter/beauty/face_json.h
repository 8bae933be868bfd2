// A debugging aid, to be called by hand: the thread priority that a developer has written into "C:\face.json". Nothing
// in the module calls it; workers always start with kThreadPriorityHighest.
#pragma once

#include <cstdint>

namespace vanta {

// The integer under "PRIORITY" of the JSON object in the file; 2 where there is none. The file's text goes to the
// standard output, what is wrong with it to the standard error. Threads: any.
int32_t ReadPriority(const char *path);
// The same of "C:\face.json".
int32_t ReadFaceJsonPriority();

}  // namespace vanta
