// `DenoisePass` filters the key over time.
#pragma once

#include "greenscreen/effect/green_screen_effect.h"
#include "greenscreen/targets/feedback_target.h"

namespace vanta {

// Each result is the next frame's previous state: the same texture is this frame's key and the memory. The state stands
// while the pass does not run, and is used as it is when it runs again.
// Owns its render targets. Threads: [render].
class DenoisePass {
 public:
  bool Create() VANTA_REQUIRES(graphics_context) { return state_.Create(); }
  void Destroy() VANTA_REQUIRES(graphics_context) { state_.Destroy(); }

  // `q`: 0 to 100, how fast the key follows the picture. Null, with the reason in the log, where it cannot be drawn.
  gs_texture_t *Run(const GreenScreenEffect &effect, gs_texture_t *in, FrameSize size, float q);

 private:
  FeedbackTarget state_;
};

}  // namespace vanta
