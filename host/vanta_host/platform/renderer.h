// What libobs draws with, as far as the system tells.
#pragma once

#include "vanta_filter/module/host_extensions.h"

namespace vanta_host {

// Enters graphics, which no worker thread of the module may do: for the paths of creation and control.
void LearnRenderer();
void ForgetRenderer();
// True once textures could not be shared when the renderer was learnt, to the session's end: a worker that has set
// itself up without them cannot take them up. Threads: any.
bool HasRendererBeenUseless();

// All that is known of the adapter; an empty description where nothing is. Inside graphics.
HostAdapterDesc PresentAdapter();

#if defined(_WIN32)
// The engine gives its frames in memory, and the map beside libobs ends the process when the driver loses its device.
inline constexpr bool kFramesCanStayOnGpu = false;
inline constexpr bool kMapsTexturesByDefault = false;
#else
inline constexpr bool kFramesCanStayOnGpu = true;
inline constexpr bool kMapsTexturesByDefault = true;
#endif

}  // namespace vanta_host
