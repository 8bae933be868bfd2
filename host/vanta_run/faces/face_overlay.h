// Draws points and boxes of faces over the picture.
#pragma once

#include <obs.h>

#include "faces/face_listener.h"

namespace vanta_run {

// A private filter: the picture, and over it what the listener heard last, scaled to the source. A new reference; the
// listener must outlive it. Threads: [control].
obs_source_t *CreateFaceOverlay(FaceListener &listener);

}  // namespace vanta_run
