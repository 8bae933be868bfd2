// Controls for programs that show or test how a host copes with an engine that is missing, slow or failing. All of them
// are process-wide, may be called from any thread at any time, and hold for engines that exist as well as for later
// ones, except where told.
#pragma once

#include "platform/export.h"

extern "C" {

// False: createEngine gives null from now on, as on a machine that cannot run the engine. Engines that exist run on.
LUMIVEX_API void lumivex_set_available(bool available);
LUMIVEX_API bool lumivex_is_available();

// Milliseconds, 0 or less for none. The frame's delay is part of its beauty time.
LUMIVEX_API void lumivex_set_delay_ms(int milliseconds);        // added to every processed frame
LUMIVEX_API void lumivex_set_start_delay_ms(int milliseconds);  // createEngine takes this much longer
LUMIVEX_API void lumivex_set_stop_delay_ms(int milliseconds);   // so does an engine's destruction

// After so many more frames, counted over all engines, every frame fails (processFrameData gives null). Negative:
// never.
LUMIVEX_API void lumivex_set_fail_after_frames(int frames);

}  // extern "C"
