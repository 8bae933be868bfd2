// Controls for programs that show or test how a host copes with an engine that is missing, slow or failing. All of them
// are process-wide, may be called from any thread at any time, and hold for engines that exist as well as for later
// ones, except where told.
#pragma once

#include "vanta_base/export.h"

extern "C" {

// False: createEngine gives null from now on, as on a machine that cannot run the engine. Engines that exist run on.
LUMIVEX_API void lumivex_set_available(bool available);
LUMIVEX_API bool lumivex_is_available();

// Milliseconds, 0 or less for none. The frame's delay is part of its beauty time.
LUMIVEX_API void lumivex_set_delay_ms(int milliseconds);        // added to every processed frame
LUMIVEX_API void lumivex_set_start_delay_ms(int milliseconds);  // createEngine takes this much longer
LUMIVEX_API void lumivex_set_stop_delay_ms(int milliseconds);   // so does an engine's destruction

// True: a frame waits for the effects and pictures that are being read for it, and a command for its table, makeup or
// preset, so that they begin with the same frame each time; and the quality is never lowered. False, as at the start:
// frames go on without them.
LUMIVEX_API void lumivex_set_frames_await_loads(bool await);
// Effects, pictures, tables, makeup and presets of all engines that are being read, or that no frame has taken yet.
LUMIVEX_API int lumivex_pending_loads();

// After so many more frames, counted over all engines, every frame fails (processFrameData gives null). Negative:
// never.
LUMIVEX_API void lumivex_set_fail_after_frames(int frames);

// 3 or 4: every frame comes back as a pixel buffer of that format (red, green, blue, alpha; one byte each), whatever it
// was asked for. Any other number, as at the start: as asked for.
LUMIVEX_API void lumivex_set_pixel_buffer_output(int pixel_format);

// How frames that are asked for as shared textures come back.
enum lumivex_texture_fault {
  LUMIVEX_TEXTURE_GOOD,            // as at the start
  LUMIVEX_TEXTURE_MISSING,         // as shared textures, without one
  LUMIVEX_TEXTURE_NO_HANDLE,       // with a texture whose handle is 0
  LUMIVEX_TEXTURE_UNKNOWN_HANDLE,  // with one whose handle the host never gave out
  LUMIVEX_TEXTURE_ABANDONED,       // with one whose lock nobody can acquire any more
  LUMIVEX_TEXTURE_MEMORY_FRAME,    // in memory
};
LUMIVEX_API void lumivex_set_texture_fault(int fault);

}  // extern "C"
