// `SpillPass` draws the final picture: the frame with its alpha, without the key's spill.
#pragma once

#include "greenscreen/effect/green_screen_effect.h"
#include "greenscreen/settings/green_screen_settings.h"
#include "greenscreen/targets/render_target.h"

namespace vanta {

// Owns its render target. Threads: [render].
class SpillPass {
 public:
  bool Create() VANTA_REQUIRES(graphics_context) { return target_.Create(); }
  void Destroy() VANTA_REQUIRES(graphics_context) { target_.Destroy(); }

  struct Input {
    gs_texture_t *source_tex = nullptr;
    gs_texture_t *uvka_tex = nullptr;   // the raw key
    gs_texture_t *alpha_tex = nullptr;  // the refined key, or the raw one
    FrameSize size;
  };

  // Premultiplied; null where it cannot be drawn.
  gs_texture_t *Run(const GreenScreenEffect &effect, const Input &input, const GreenScreenSettings &settings);
  // What the last Run drew.
  gs_texture_t *Texture() const { return target_.Texture(); }

 private:
  RenderTarget target_;
};

}  // namespace vanta
