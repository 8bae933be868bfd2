// The face landmark filter as the host sees it: its registration record and its callbacks.
#pragma once

namespace vanta {

// Registers "tessera_landmark_filter". Called once, when the module loads.
void RegisterLandmarkFilter();

}  // namespace vanta
