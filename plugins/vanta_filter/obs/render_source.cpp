#include "obs/render_source.h"

namespace vanta {

void RenderSourceInto(gs_texrender_t *target, uint32_t width, uint32_t height, const vec4 &background,
                      obs_source_t *source) {
  gs_texrender_reset(target);
  if (!gs_texrender_begin(target, width, height)) return;
  gs_clear(GS_CLEAR_COLOR, &background, 0.0f, 0);
  gs_ortho(0.0f, static_cast<float>(width), 0.0f, static_cast<float>(height), -100.0f, 100.0f);
  gs_set_viewport(0, 0, static_cast<int>(width), static_cast<int>(height));
  obs_source_video_render(source);
  gs_texrender_end(target);
}

}  // namespace vanta
