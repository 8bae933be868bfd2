#include "greenscreen/passes/render_pass.h"

#include <graphics/vec4.h>

namespace vanta {

bool BeginPass(gs_texrender_t *target, uint32_t width, uint32_t height) {
  if (!target || width == 0 || height == 0) return false;
  gs_texrender_reset(target);
  if (!gs_texrender_begin(target, width, height)) return false;
  gs_blend_state_push();
  gs_enable_blending(false);
  vec4 transparent;
  vec4_zero(&transparent);
  gs_clear(GS_CLEAR_COLOR, &transparent, 0.0f, 0);
  gs_set_cull_mode(GS_NEITHER);
  gs_set_viewport(0, 0, static_cast<int>(width), static_cast<int>(height));
  gs_ortho(0.0f, 1.0f, 0.0f, 1.0f, -100.0f, 100.0f);
  return true;
}

void DrawTechnique(gs_effect_t *effect, const char *name) {
  while (gs_effect_loop(effect, name)) gs_draw_sprite(nullptr, 0, 1, 1);
}

void EndPass(gs_texrender_t *target) {
  if (!target) return;
  gs_texrender_end(target);
  gs_blend_state_pop();
}

}  // namespace vanta
