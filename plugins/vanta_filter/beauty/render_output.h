// Draws what the last filter_video left: nothing for a memory frame, an upload for a pixel buffer, a keyed draw for a
// shared texture.
#pragma once

#include "beauty/face_beauty_filter_data.h"

namespace vanta {

// Threads: [render].
void RenderBeautyOutput(face_beauty_filter_data &filter) VANTA_REQUIRES(graphics_context);

}  // namespace vanta
