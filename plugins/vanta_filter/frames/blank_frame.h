// Paints a host frame opaque black.
#pragma once

#include <obs.h>

namespace vanta {

// Every plane of `frame` as libobs laid it out: dark in partial and in full range, chroma neutral, alpha opaque. A
// format that only the customised host knows stays as it was.
void BlankFrame(obs_source_frame &frame);

}  // namespace vanta
