// One full-frame pass of the green screen: a sprite over a unit square, drawn into a render target.
#pragma once

#include <cstdint>

#include <graphics/graphics.h>

namespace vanta {

// False, with no state left pushed, where the target is missing, a size is 0 or the target cannot be begun.
bool BeginPass(gs_texrender_t *target, uint32_t width, uint32_t height);
// Draws nothing where the effect has no such technique.
void DrawTechnique(gs_effect_t *effect, const char *name);
void EndPass(gs_texrender_t *target);

}  // namespace vanta
