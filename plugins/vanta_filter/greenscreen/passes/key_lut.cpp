// The key table: made once per change of the key, read for each pixel of each frame.
#include <util/base.h>

#include "greenscreen/green_screen_renderer.h"
#include "greenscreen/passes/key_info.h"
#include "greenscreen/passes/render_pass.h"

namespace vanta {

bool GreenScreenRenderer::EnsureKeyLut() {
  bool dirty;
  {
    // Cleared before the settings are read: a change that arrives during the build is not lost.
    const MutexLock lock(settings_mutex_);
    dirty = key_lut_dirty_;
    key_lut_dirty_ = false;
  }
  if (!dirty && gs_texrender_get_texture(key_lut_target_)) return true;
  if (BuildKeyLut()) return true;
  const MutexLock lock(settings_mutex_);
  if (dirty) key_lut_dirty_ = true;
  return false;
}

bool GreenScreenRenderer::BuildKeyLut() {
  if (!effect_ || !key_lut_target_) return false;
  if (!BeginPass(key_lut_target_, kKeyLutSize, kKeyLutSize)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] begin key lut pass failed (%ux%u)", kKeyLutSize, kKeyLutSize);
    return false;
  }
  const GreenScreenSettings settings = Settings();
  const AngleInfo angle = ComputeAngleInfo(settings.similarity);
  const KeyInfo key = ComputeKeyInfo(settings.key_color);
  SetVec2(params_.angle_info, angle.x, angle.y);
  SetVec4(params_.key_info, key.x, key.y, key.z, key.w);
  SetInt(params_.spill_sup_flag, SpillSupFlag(settings));
  SetFloat(params_.spill_sup_offset, settings.spill_sup_offset);
  SetFloat(params_.spill_sup_yth, settings.spill_sup_y_thres);
  DrawTechnique(effect_, "KeyLut");
  EndPass(key_lut_target_);
  if (gs_texrender_get_texture(key_lut_target_)) return true;
  blog(LOG_ERROR, "[LX_green_screen_filter][shader] key lut output texture missing");
  return false;
}

}  // namespace vanta
