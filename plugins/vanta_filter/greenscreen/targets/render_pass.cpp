#include "greenscreen/targets/render_pass.h"

#include <graphics/vec4.h>

namespace vanta {

RenderPass::RenderPass(const RenderTarget &target, FrameSize size) {
  if (!target.exists() || size.width == 0 || size.height == 0) return;
  gs_texrender_reset(target.handle());
  if (!gs_texrender_begin(target.handle(), size.width, size.height)) return;
  target_ = target.handle();
  gs_blend_state_push();
  gs_enable_blending(false);
  vec4 transparent;
  vec4_zero(&transparent);
  gs_clear(GS_CLEAR_COLOR, &transparent, 0.0f, 0);
  gs_set_cull_mode(GS_NEITHER);
  gs_set_viewport(0, 0, static_cast<int>(size.width), static_cast<int>(size.height));
  gs_ortho(0.0f, 1.0f, 0.0f, 1.0f, -100.0f, 100.0f);
}

RenderPass::~RenderPass() {
  if (!target_) return;
  gs_texrender_end(target_);
  gs_blend_state_pop();
}

}  // namespace vanta
