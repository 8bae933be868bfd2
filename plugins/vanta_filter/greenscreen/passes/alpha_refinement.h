// `AlphaRefinement` refines the raw key, and gives the raw one back where that fails.
#pragma once

#include "greenscreen/passes/alpha_blur_pass.h"
#include "greenscreen/passes/alpha_shrink_pass.h"
#include "greenscreen/passes/denoise_pass.h"
#include "greenscreen/settings/settings_store.h"

namespace vanta {

// Denoise, shrink and blur, in this order, each where the settings ask for it. After any failure the chain starts over
// from the raw key, never from a half-refined one. Threads: [render].
class AlphaRefinement {
 public:
  bool Create() VANTA_REQUIRES(graphics_context);
  void Destroy() VANTA_REQUIRES(graphics_context);

  // `raw` itself where nothing refined it.
  gs_texture_t *Run(const GreenScreenEffect &effect, gs_texture_t *raw, FrameSize size, const SettingsStore &settings);

 private:
  DenoisePass denoise_;
  AlphaShrinkPass shrink_;
  AlphaBlurPass blur_;
};

}  // namespace vanta
