// The green screen filter as the host sees it: its registration record and its callbacks.
#pragma once

namespace vanta {

// Registers "LX_green_screen_filter". Called once, when the module loads.
void RegisterGreenScreenFilter();

}  // namespace vanta
