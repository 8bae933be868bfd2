// The libraries that the module calls beside its host.
#pragma once

#include <string>

namespace vanta_host {

// Makes the engine and the vision runner ready for the module, which may have been loaded without them. Each gives the
// reason why the module must not call it, as text for the log; empty when it may. Waits for the system to load files,
// and so stands where the module registers its filters.
std::string ObstacleToEngine();
std::string ObstacleToRunner();

// Whether the engine takes the data that was installed with it where the host has no text for the folder's name.
bool EngineFindsItsData();

}  // namespace vanta_host
