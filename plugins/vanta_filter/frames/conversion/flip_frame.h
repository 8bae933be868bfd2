// Mirrors I420 frames left to right, top to bottom, or both.
#pragma once

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// The result is in `b`, which needs room for `a`'s picture: without it nothing happens. A vertical flip alone uses `a`
// as scratch. With neither direction the two records are exchanged and no pixel moves; their buffers change owner with
// them, so both come from the makers or neither does.
void FlipFrame(LX::FrameData &a, LX::FrameData &b, bool vertical, bool horizontal);

}  // namespace vanta
