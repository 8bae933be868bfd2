#include "greenscreen/passes/lut_apply_pass.h"

#include <util/base.h>

#include "greenscreen/targets/render_pass.h"

namespace vanta {

gs_texture_t *LutApplyPass::Run(const GreenScreenEffect &effect, gs_texture_t *source_tex, gs_texture_t *lut_tex,
                                FrameSize size) {
  SetTexture(effect.params().uv_lut, lut_tex);
  {
    const RenderPass pass(target_, size);
    if (!pass) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] begin uvka pass failed (%ux%u)", size.width, size.height);
      return nullptr;
    }
    SetTexture(effect.params().image, source_tex);
    effect.Draw("LutApply");
  }
  return target_.Texture();
}

}  // namespace vanta
