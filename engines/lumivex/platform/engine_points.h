// Whether the host wants face points from the engine.
#pragma once

namespace lumivex {

// The host's `FacePointByLX`, asked each time. On Windows it is looked for in the process, since hosts have it in DLLs
// of different names; without one, false. Threads: any.
bool HostWantsEnginePoints();

}  // namespace lumivex
