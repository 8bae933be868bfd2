// How a filter draws a source of the chain into a texture of its own.
#pragma once

#include <obs.h>

#include "obs/graphics_scope.h"

namespace vanta {

// `source` over `background`, into all of a target of `width` by `height` pixels. Nothing where the target cannot be
// begun. Threads: [render].
void RenderSourceInto(gs_texrender_t *target, uint32_t width, uint32_t height, const vec4 &background,
                      obs_source_t *source) VANTA_REQUIRES(graphics_context);

}  // namespace vanta
