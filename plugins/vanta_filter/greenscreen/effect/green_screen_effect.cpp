#include "greenscreen/effect/green_screen_effect.h"

#include <iterator>

#include <util/base.h>
#include <util/bmem.h>
#include <util/platform.h>

#include <obs.h>

#include "obs/data_file.h"
#include "obs/module_text.h"

namespace vanta {
namespace {

using Member = gs_eparam_t *EffectParameters::*;

struct Binding {
  const char *name;
  Member member;
  int required;  // only printed: a load without it succeeds all the same
};

// In the order of lookup, which is also that of the record.
constexpr Binding kBindings[] = {
    {"image", &EffectParameters::image, 1},
    {"uv_lut", &EffectParameters::uv_lut, 1},
    {"output_tex", &EffectParameters::output_tex, 0},
    {"uvka_tex", &EffectParameters::uvka_tex, 1},
    {"alpha_adjust_tex", &EffectParameters::alpha_adjust_tex, 0},
    {"prev_state_tex", &EffectParameters::prev_state_tex, 0},
    {"blur_tex", &EffectParameters::blur_tex, 0},
    {"angle_info", &EffectParameters::angle_info, 1},
    {"key_info", &EffectParameters::key_info, 1},
    {"spill_sup_flag", &EffectParameters::spill_sup_flag, 1},
    {"spill_sup_offset", &EffectParameters::spill_sup_offset, 1},
    {"spill_sup_yth", &EffectParameters::spill_sup_yth, 1},
    {"alpha_adjust_flag", &EffectParameters::alpha_adjust_flag, 1},
    {"alpha_down", &EffectParameters::alpha_down, 1},
    {"alpha_up", &EffectParameters::alpha_up, 1},
    {"blue_bg_flag", &EffectParameters::blue_bg_flag, 1},
    {"spill_sup_scale_rgb", &EffectParameters::spill_sup_scale_rgb, 1},
    {"spill_sup_red_w", &EffectParameters::spill_sup_red_w, 1},
    {"spill_sup_mix", &EffectParameters::spill_sup_mix, 1},
    {"alpha_shrink_offset", &EffectParameters::alpha_shrink_offset, 0},
    {"denoise_q", &EffectParameters::denoise_q, 0},
    {"denoise_init_flag", &EffectParameters::denoise_init_flag, 0},
    {"denoise_offset", &EffectParameters::denoise_offset, 0},
    {"blur_offset", &EffectParameters::blur_offset, 0},
    {"blur_weight", &EffectParameters::blur_weight, 0},
    {"blur_halfpixel", &EffectParameters::blur_halfpixel, 0},
};

// The order of the lines about what is missing, as indices into the table above: it differs from that of lookup.
constexpr int kReportOrder[] = {0,  1,  2,  3,  4,  6, 7,  8,  9,  10, 11, 12, 13,
                                14, 15, 16, 17, 18, 5, 20, 21, 22, 19, 23, 24, 25};
static_assert(std::size(kReportOrder) == std::size(kBindings));

constexpr const char *kTechniques[] = {"KeyLut", "LutApply", "Denoise",          "AlphaShrink", "BlurDown",
                                       "BlurUp", "BlurStep", "SpillSuppression", "Passthrough", "OutputDraw"};

gs_effect_t *CompileEffect(const char *path, char **errors) {
  if (!MayBeRead(path)) return nullptr;
  const GraphicsScope graphics;
  return gs_effect_create_from_file(path, errors);
}

void LogCompileFailure(const char *file_name, const char *path, bool exists, const char *errors) {
  blog(LOG_ERROR, "[LX_green_screen_filter][shader] load effect failed: requested=%s resolved=%s exists=%d", file_name,
       path, exists ? 1 : 0);
  if (errors && *errors)
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] effect compile detail: %s", errors);
  else
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] effect compile detail unavailable (empty)");
}

}  // namespace

bool GreenScreenEffect::Load(const char *file_name) {
  if (!file_name || !*file_name) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] empty effect file");
    return false;
  }
  char *path = obs_find_module_file(obs_current_module(), file_name);
  if (!path) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] effect path resolve failed: requested=%s", file_name);
    return false;
  }
  const bool exists = os_file_exists(path);
  char *errors = nullptr;
  effect_ = CompileEffect(path, &errors);
  if (!effect_) LogCompileFailure(file_name, path, exists, errors);
  bfree(errors);
  bfree(path);
  if (effect_) Bind();
  return effect_ != nullptr;
}

// What is missing is logged and stops nothing: the passes cope frame by frame.
void GreenScreenEffect::Bind() {
  for (const Binding &binding : kBindings) params_.*binding.member = gs_effect_get_param_by_name(effect_, binding.name);
  for (const int index : kReportOrder) {
    const Binding &binding = kBindings[index];
    if (!(params_.*binding.member))
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] missing effect param: %s (required=%d)", binding.name,
           binding.required);
  }
  for (const char *technique : kTechniques) {
    if (!HasTechnique(technique))
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] missing effect technique: %s", technique);
  }
}

void GreenScreenEffect::Unload() {
  if (effect_) gs_effect_destroy(effect_);
  effect_ = nullptr;
  params_ = {};
}

bool GreenScreenEffect::HasTechnique(const char *name) const {
  return gs_effect_get_technique(effect_, name) != nullptr;
}

gs_eparam_t *GreenScreenEffect::OptionalParameter(const char *name) const {
  return gs_effect_get_param_by_name(effect_, name);
}

void GreenScreenEffect::Draw(const char *technique) const {
  while (gs_effect_loop(effect_, technique)) gs_draw_sprite(nullptr, 0, 1, 1);
}

}  // namespace vanta
