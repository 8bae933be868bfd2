// Takes a copy of what the landmark filter's target draws, now and then, for the worker.
#pragma once

#include "landmark/landmark_filter_data.h"
#include "obs/graphics_scope.h"

namespace vanta {

// Does nothing before the interval is over, and where the effect engine supplies the faces. On the CPU path the
// graphics thread waits for the read-back.
void CaptureTarget(LandmarkFilterData &filter) VANTA_REQUIRES(graphics_context);

gs_texrender_t *CreateCaptureTarget() VANTA_REQUIRES(graphics_context);
void DestroyCaptureTarget(LandmarkFilterData &filter) VANTA_REQUIRES(graphics_context);

}  // namespace vanta
