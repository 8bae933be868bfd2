#include "greenscreen/filter_frame.h"

#include <util/base.h>

#include "greenscreen/filter_texture.h"
#include "obs/skip_filter.h"

namespace vanta {

bool FilterFrame::Begin(const GreenScreenEffect &effect) {
  if (!filter_) return false;
  if (!effect.loaded()) {
    SkipFilter(filter_);
    return false;
  }
  if (!Measure()) return false;
  if (!obs_source_process_filter_begin(filter_, GS_RGBA, OBS_NO_DIRECT_RENDERING)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] process_filter_begin failed");
    return false;
  }
  output_supported_ = effect.params().output_tex && effect.HasTechnique("OutputDraw");
  gs_viewport_push();
  gs_projection_push();
  return true;
}

bool FilterFrame::Measure() {
  obs_source_t *const target = obs_filter_get_target(filter_);
  if (!target) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] no filter target, skip");
    SkipFilter(filter_);
    return false;
  }
  const uint32_t width = obs_source_get_base_width(target);
  const uint32_t height = obs_source_get_base_height(target);
  if (width == 0 || height == 0) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] invalid target size (%ux%u), skip", width, height);
    SkipFilter(filter_);
    return false;
  }
  size_ = {width, height};
  return true;
}

gs_texture_t *FilterFrame::SourceTexture() {
  gs_texture_t *const texture = FilterSourceTexture(filter_);
  if (texture) return texture;
  blog(LOG_ERROR, "[LX_green_screen_filter][shader] source texture missing after process_filter_begin");
  Restore();
  SkipFilter(filter_);
  return nullptr;
}

bool FilterFrame::DrawKeyed(const GreenScreenEffect &effect, gs_texture_t *output_tex) {
  if (!output_supported_) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] output draw unavailable (texture=%d supported=%d), passthrough",
         1, 0);
    return false;
  }
  SetTexture(effect.params().output_tex, output_tex);
  Restore();
  obs_source_process_filter_tech_end(filter_, effect.handle(), 0, 0, "OutputDraw");
  return true;
}

bool FilterFrame::PassThrough() {
  Restore();
  gs_effect_t *const base = obs_get_base_effect(OBS_EFFECT_DEFAULT);
  if (!base) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] passthrough draw failed: base effect unavailable");
    SkipFilter(filter_);
    return false;
  }
  obs_source_process_filter_end(filter_, base, 0, 0);
  return true;
}

void FilterFrame::Restore() {
  gs_projection_pop();
  gs_viewport_pop();
}

}  // namespace vanta
