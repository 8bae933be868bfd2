// The green screen effect's parameters, and setters that pass over those that the effect lacks.
#pragma once

#include <cstdint>

#include <graphics/graphics.h>

namespace vanta {

// Each is null where the effect has no parameter of that name. In the order of lookup.
struct EffectParameters {
  gs_eparam_t *image = nullptr;
  gs_eparam_t *uv_lut = nullptr;
  gs_eparam_t *output_tex = nullptr;
  gs_eparam_t *uvka_tex = nullptr;
  gs_eparam_t *alpha_adjust_tex = nullptr;
  gs_eparam_t *prev_state_tex = nullptr;
  gs_eparam_t *blur_tex = nullptr;
  gs_eparam_t *angle_info = nullptr;
  gs_eparam_t *key_info = nullptr;
  gs_eparam_t *spill_sup_flag = nullptr;
  gs_eparam_t *spill_sup_offset = nullptr;
  gs_eparam_t *spill_sup_yth = nullptr;
  gs_eparam_t *alpha_adjust_flag = nullptr;
  gs_eparam_t *alpha_down = nullptr;
  gs_eparam_t *alpha_up = nullptr;
  gs_eparam_t *blue_bg_flag = nullptr;
  gs_eparam_t *spill_sup_scale_rgb = nullptr;
  gs_eparam_t *spill_sup_red_w = nullptr;
  gs_eparam_t *spill_sup_mix = nullptr;
  gs_eparam_t *alpha_shrink_offset = nullptr;
  gs_eparam_t *denoise_q = nullptr;
  gs_eparam_t *denoise_init_flag = nullptr;
  gs_eparam_t *denoise_offset = nullptr;
  gs_eparam_t *blur_offset = nullptr;
  gs_eparam_t *blur_weight = nullptr;
  gs_eparam_t *blur_halfpixel = nullptr;
};

void SetTexture(gs_eparam_t *param, gs_texture_t *texture);
void SetInt(gs_eparam_t *param, int32_t value);
void SetFloat(gs_eparam_t *param, float value);
void SetVec2(gs_eparam_t *param, float x, float y);
void SetVec3(gs_eparam_t *param, float x, float y, float z);
void SetVec4(gs_eparam_t *param, float x, float y, float z, float w);

}  // namespace vanta
