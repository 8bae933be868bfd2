// `AlphaBlurPass` feathers the key: a pyramid of at most three levels, down and up again.
#pragma once

#include "greenscreen/effect/green_screen_effect.h"
#include "greenscreen/passes/blur_shape.h"
#include "greenscreen/targets/render_target.h"

namespace vanta {

// Owns its render targets. Threads: [render].
class AlphaBlurPass {
 public:
  bool Create() VANTA_REQUIRES(graphics_context);
  void Destroy() VANTA_REQUIRES(graphics_context);

  // `in` itself where `intensity`, 0 to 1, leaves nothing to blur. Null, with the reason in the log, where it cannot be
  // drawn. `step_target` takes the result; `in` must not lie in it.
  gs_texture_t *Run(const GreenScreenEffect &effect, gs_texture_t *in, FrameSize size, float intensity,
                    const RenderTarget &step_target);

 private:
  // `level_size` is the last level's, at first the frame's.
  bool Down(const GreenScreenEffect &effect, gs_texture_t *in, const BlurShape &shape, FrameSize &level_size);
  bool Up(const GreenScreenEffect &effect, const BlurShape &shape, FrameSize frame, FrameSize &level_size);
  gs_texture_t *Step(const GreenScreenEffect &effect, gs_texture_t *in, FrameSize size, const RenderTarget &target);

  RenderTarget levels_[kBlurLevels];
  RenderTarget whole_;  // the blurred key, close to the frame's size
};

}  // namespace vanta
