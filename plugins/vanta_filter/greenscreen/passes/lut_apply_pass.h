// `LutApplyPass` draws the raw key of each pixel, from the frame and the key table.
#pragma once

#include "greenscreen/effect/green_screen_effect.h"
#include "greenscreen/targets/render_target.h"

namespace vanta {

// Owns its render target. Threads: [render].
class LutApplyPass {
 public:
  bool Create() VANTA_REQUIRES(graphics_context) { return target_.Create(); }
  void Destroy() VANTA_REQUIRES(graphics_context) { target_.Destroy(); }

  // The raw key, at the frame's size; null where it cannot be drawn.
  gs_texture_t *Run(const GreenScreenEffect &effect, gs_texture_t *source_tex, gs_texture_t *lut_tex, FrameSize size);

 private:
  RenderTarget target_;
};

}  // namespace vanta
