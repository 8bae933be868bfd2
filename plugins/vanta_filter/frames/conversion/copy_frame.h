// The way back of a converted engine frame: planar, straight into the host's frame.
#pragma once

#include <obs.h>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// An I420 engine frame straight into the host's frame, in its format: I420, NV12, YUY2, UYVY, RGBA, BGRA, BGRX, I422
// or V210. I420 is copied as far as both frames' planes go, whatever their sizes; V210 has rows of V210RowBytes,
// whatever pitch the frame names. False, with nothing written, for any other format, which is logged, where a frame
// has no planes, and for all but I420 where it does not hold the picture.
// Threads: any.
bool CopyI420ToHostFrame(obs_source_frame *frame, const LX::FrameData &i420);

}  // namespace vanta
