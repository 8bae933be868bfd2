#include "greenscreen/passes/denoise_pass.h"

#include <util/base.h>

#include "greenscreen/targets/render_pass.h"

namespace vanta {

gs_texture_t *DenoisePass::Run(const GreenScreenEffect &effect, gs_texture_t *in, FrameSize size, float q) {
  if (!in) return nullptr;
  const EffectParameters &params = effect.params();
  if (!effect.loaded() || !params.image || !params.prev_state_tex || !params.denoise_q || !params.denoise_init_flag ||
      !params.denoise_offset || !state_.exists()) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] denoise missing texture/effect param");
    return nullptr;
  }
  gs_texture_t *const previous = state_.Previous(size);
  {
    const RenderPass pass(state_.next(), size);
    if (!pass) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] denoise begin failed");
      return nullptr;
    }
    SetTexture(params.image, in);
    if (previous) SetTexture(params.prev_state_tex, previous);
    SetFloat(params.denoise_q, q);
    SetInt(params.denoise_init_flag, previous ? 0 : 1);
    SetVec2(params.denoise_offset, 1.0f / static_cast<float>(size.width), 1.0f / static_cast<float>(size.height));
    effect.Draw("Denoise");
  }
  gs_texture_t *const out = state_.Advance(size);
  if (!out) blog(LOG_ERROR, "[LX_green_screen_filter][shader] denoise output texture missing");
  return out;
}

}  // namespace vanta
