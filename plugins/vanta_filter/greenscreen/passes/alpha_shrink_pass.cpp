#include "greenscreen/passes/alpha_shrink_pass.h"

#include <util/base.h>

#include "greenscreen/settings/green_screen_settings.h"
#include "greenscreen/targets/render_pass.h"

namespace vanta {

bool AlphaShrinkPass::Create() {
  const bool horizontal = horizontal_.Create();
  return vertical_.Create() && horizontal;
}

void AlphaShrinkPass::Destroy() {
  horizontal_.Destroy();
  vertical_.Destroy();
}

gs_texture_t *AlphaShrinkPass::Run(const GreenScreenEffect &effect, gs_texture_t *in, FrameSize size, float pixels) {
  if (!in || !effect.loaded() || !effect.params().image || !effect.params().alpha_shrink_offset) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink missing texture/effect param");
    return nullptr;
  }
  if (pixels <= kGreenScreenEpsilon) return in;
  if (!RunAxis(effect, horizontal_, in, size, pixels / static_cast<float>(size.width), 0.0f)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink pass H begin failed");
    return nullptr;
  }
  gs_texture_t *const between = horizontal_.Texture();
  if (!between) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink pass H output missing");
    return nullptr;
  }
  if (!RunAxis(effect, vertical_, between, size, 0.0f, pixels / static_cast<float>(size.height))) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink pass V begin failed");
    return nullptr;
  }
  gs_texture_t *const out = vertical_.Texture();
  if (!out) blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink pass V output missing");
  return out;
}

bool AlphaShrinkPass::RunAxis(const GreenScreenEffect &effect, const RenderTarget &target, gs_texture_t *in,
                              FrameSize size, float dx, float dy) {
  const RenderPass pass(target, size);
  if (!pass) return false;
  SetTexture(effect.params().image, in);
  SetVec2(effect.params().alpha_shrink_offset, dx, dy);
  effect.Draw("AlphaShrink");
  return true;
}

}  // namespace vanta
