#include "greenscreen/passes/key_lut_pass.h"

#include <util/base.h>

#include "greenscreen/passes/key_info.h"
#include "greenscreen/targets/render_pass.h"

namespace vanta {

bool KeyLutPass::Create() {
  built_revision_.reset();
  return target_.Create();
}

void KeyLutPass::Destroy() {
  target_.Destroy();
  built_revision_.reset();
}

bool KeyLutPass::Ensure(const GreenScreenEffect &effect, const SettingsSnapshot &settings) {
  if (IsCurrent(settings.key_revision) && Texture()) return true;
  if (!Build(effect, settings.values)) return false;
  built_revision_ = settings.key_revision;
  return true;
}

bool KeyLutPass::Build(const GreenScreenEffect &effect, const GreenScreenSettings &settings) {
  if (!effect.loaded() || !target_.exists()) return false;
  {
    const RenderPass pass(target_, kSize);
    if (!pass) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] begin key lut pass failed (%ux%u)", kSize.width, kSize.height);
      return false;
    }
    const EffectParameters &params = effect.params();
    const AngleInfo angle = ComputeAngleInfo(settings.similarity);
    const KeyInfo key = ComputeKeyInfo(settings.key_color);
    SetVec2(params.angle_info, angle.x, angle.y);
    SetVec4(params.key_info, key.x, key.y, key.z, key.w);
    SetInt(params.spill_sup_flag, SpillSupFlag(settings));
    SetFloat(params.spill_sup_offset, settings.spill_sup_offset);
    SetFloat(params.spill_sup_yth, settings.spill_sup_y_thres);
    effect.Draw("KeyLut");
  }
  if (Texture()) return true;
  blog(LOG_ERROR, "[LX_green_screen_filter][shader] key lut output texture missing");
  return false;
}

}  // namespace vanta
