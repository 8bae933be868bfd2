#include "greenscreen/passes/spill_pass.h"

#include <util/base.h>

#include "greenscreen/targets/render_pass.h"

namespace vanta {
namespace {

void SetParameters(const EffectParameters &params, const SpillPass::Input &input, const GreenScreenSettings &settings) {
  const bool alpha_adjusted = input.alpha_tex && input.alpha_tex != input.uvka_tex;
  SetTexture(params.uvka_tex, input.uvka_tex);
  SetTexture(params.alpha_adjust_tex, input.alpha_tex);
  SetInt(params.alpha_adjust_flag, alpha_adjusted ? 1 : 0);
  SetFloat(params.alpha_down, settings.alpha_down);
  SetFloat(params.alpha_up, settings.alpha_up);
  SetInt(params.blue_bg_flag, settings.blue_bg_flag > 0 ? 1 : 0);
  SetInt(params.spill_sup_flag, SpillSupFlag(settings));
  SetVec3(params.spill_sup_scale_rgb, settings.spill_sup_scale_r, settings.spill_sup_scale_g,
          settings.spill_sup_scale_b);
  SetFloat(params.spill_sup_red_w, settings.spill_sup_red_w);
  SetFloat(params.spill_sup_mix, settings.spill_sup_color_mix);
}

}  // namespace

gs_texture_t *SpillPass::Run(const GreenScreenEffect &effect, const Input &input, const GreenScreenSettings &settings) {
  SetParameters(effect.params(), input, settings);
  {
    const RenderPass pass(target_, input.size);
    if (!pass) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] begin output pass failed (%ux%u)", input.size.width,
           input.size.height);
      return nullptr;
    }
    SetTexture(effect.params().image, input.source_tex);
    effect.Draw("SpillSuppression");
  }
  return Texture();
}

}  // namespace vanta
