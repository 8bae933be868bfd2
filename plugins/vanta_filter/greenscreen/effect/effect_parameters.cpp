#include "greenscreen/effect/effect_parameters.h"

#include <graphics/vec2.h>
#include <graphics/vec3.h>
#include <graphics/vec4.h>

namespace vanta {

void SetTexture(gs_eparam_t *param, gs_texture_t *texture) {
  if (param) gs_effect_set_texture(param, texture);
}

void SetInt(gs_eparam_t *param, int32_t value) {
  if (param) gs_effect_set_int(param, value);
}

void SetFloat(gs_eparam_t *param, float value) {
  if (param) gs_effect_set_float(param, value);
}

void SetVec2(gs_eparam_t *param, float x, float y) {
  vec2 value;
  vec2_set(&value, x, y);
  if (param) gs_effect_set_vec2(param, &value);
}

void SetVec3(gs_eparam_t *param, float x, float y, float z) {
  vec3 value;
  vec3_set(&value, x, y, z);
  if (param) gs_effect_set_vec3(param, &value);
}

void SetVec4(gs_eparam_t *param, float x, float y, float z, float w) {
  vec4 value;
  vec4_set(&value, x, y, z, w);
  if (param) gs_effect_set_vec4(param, &value);
}

}  // namespace vanta
