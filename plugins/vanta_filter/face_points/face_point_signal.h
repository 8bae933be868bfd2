// The signal `TesseraFacePointRet`, with which faces go to the host.
#pragma once

#include <cstdint>

#include "face_points/face_points.h"

namespace vanta {

// Sends the signal on the calling thread, also for no face at all. `width` and `height` are the analysed picture's,
// pixels. A receiver takes a reference to the message, or copies what it needs, before it returns. Threads: any; no
// graphics context is needed or taken.
void PublishFacePoints(const FacePointResult &result, uint32_t width, uint32_t height);

}  // namespace vanta
