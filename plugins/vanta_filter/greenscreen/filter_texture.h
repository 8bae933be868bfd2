// Reaches the texture into which libobs has drawn a filter's unfiltered frame.
#pragma once

#include <obs.h>

#include "obs/graphics_scope.h"

namespace vanta {

// Null where there is none. Valid after a good obs_source_process_filter_begin, until that filter is begun again; the
// texture stays libobs's.
gs_texture_t *FilterSourceTexture(obs_source_t *filter) VANTA_REQUIRES(graphics_context);

}  // namespace vanta
