#include "greenscreen/passes/alpha_refinement.h"

#include <util/base.h>

namespace vanta {

bool AlphaRefinement::Create() {
  bool all = denoise_.Create();
  all = shrink_.Create() && all;
  return blur_.Create() && all;
}

void AlphaRefinement::Destroy() {
  denoise_.Destroy();
  shrink_.Destroy();
  blur_.Destroy();
}

// Each pass reads the settings as they stand when it begins.
gs_texture_t *AlphaRefinement::Run(const GreenScreenEffect &effect, gs_texture_t *raw, FrameSize size,
                                   const SettingsStore &store) {
  gs_texture_t *alpha = raw;
  if (const GreenScreenSettings settings = store.Current(); settings.denoise_enabled) {
    alpha = denoise_.Run(effect, alpha, size, settings.a_kalman_q);
    if (!alpha) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] denoise failed, continue with raw alpha");
      alpha = raw;
    }
  }
  if (const float shrink = store.Current().alpha_shrink; shrink > kGreenScreenEpsilon) {
    alpha = shrink_.Run(effect, alpha, size, shrink);
    if (!alpha) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink failed, continue with raw alpha (shrink=%.4f)",
           static_cast<double>(shrink));
      alpha = raw;
    }
  }
  const GreenScreenSettings settings = store.Current();
  const float intensity = settings.fg_alpha_blur_intensity;
  if (settings.fg_alpha_blur_enabled && intensity > kGreenScreenEpsilon) {
    alpha = blur_.Run(effect, alpha, size, intensity, shrink_.spent_target());
    if (!alpha) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] fg alpha blur failed, continue without blur (intensity=%.4f)",
           static_cast<double>(intensity));
      alpha = raw;
    }
  }
  return alpha;
}

}  // namespace vanta
