// `AlphaShrinkPass` moves the key's edge inwards.
#pragma once

#include "greenscreen/effect/green_screen_effect.h"
#include "greenscreen/targets/render_target.h"

namespace vanta {

// Owns its render targets, one for each axis. Threads: [render].
class AlphaShrinkPass {
 public:
  bool Create() VANTA_REQUIRES(graphics_context);
  void Destroy() VANTA_REQUIRES(graphics_context);

  // By `pixels`; `in` itself where that is nothing. Null, with the reason in the log, where it cannot be drawn.
  gs_texture_t *Run(const GreenScreenEffect &effect, gs_texture_t *in, FrameSize size, float pixels);

  // Its content is spent once Run is done: a later pass of the frame may draw into it.
  const RenderTarget &spent_target() const { return horizontal_; }

 private:
  // `dx`, `dy`: the step, in texture coordinates; one of them is 0.
  static bool RunAxis(const GreenScreenEffect &effect, const RenderTarget &target, gs_texture_t *in, FrameSize size,
                      float dx, float dy);

  RenderTarget horizontal_;
  RenderTarget vertical_;
};

}  // namespace vanta
