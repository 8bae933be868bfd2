// The renderer's life and the order of one frame's steps.
#include "greenscreen/green_screen_renderer.h"

#include <util/base.h>

#include "greenscreen/filter_texture.h"
#include "greenscreen/green_screen_config.h"
#include "greenscreen/passes/render_pass.h"
#include "obs/skip_filter.h"

namespace vanta {
namespace {

void Destroy(gs_texrender_t *&target) {
  if (target) gs_texrender_destroy(target);
  target = nullptr;
}

}  // namespace

// ---- Life ----

bool GreenScreenRenderer::Initialise(const char *effect_file_name) {
  Teardown();
  if (!CreateTargets()) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] create texrender failed");
    Teardown();
    return false;
  }
  if (!LoadEffect(effect_file_name)) {
    Teardown();
    return false;
  }
  DropDenoiseState();
  const MutexLock lock(settings_mutex_);
  DropCacheLocked();
  key_lut_dirty_ = true;
  return true;
}

bool GreenScreenRenderer::CreateTargets() {
  gs_texrender_t **const targets[] = {
      &key_lut_target_,        &uvka_target_,           &denoise_state_target_,  &denoise_next_target_,
      &alpha_shrink_h_target_, &alpha_shrink_v_target_, &blur_level_targets_[0], &blur_level_targets_[1],
      &blur_level_targets_[2], &blur_temp_target_,      &output_target_,
  };
  const GraphicsScope graphics;
  bool all = true;
  for (gs_texrender_t **target : targets) {
    *target = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
    all = all && *target;
  }
  return all;
}

bool GreenScreenRenderer::LoadEffect(const char *file_name) {
  effect_ = LoadGreenScreenEffect(file_name);
  if (!effect_) return false;
  params_ = BindGreenScreenEffect(effect_);
  DropCache();
  return true;
}

void GreenScreenRenderer::Teardown() {
  {
    const GraphicsScope graphics;
    Destroy(key_lut_target_);
    Destroy(uvka_target_);
    Destroy(denoise_state_target_);
    Destroy(denoise_next_target_);
    Destroy(alpha_shrink_h_target_);
    Destroy(alpha_shrink_v_target_);
    for (gs_texrender_t *&target : blur_level_targets_) Destroy(target);
    Destroy(blur_temp_target_);
    Destroy(output_target_);
    if (effect_) gs_effect_destroy(effect_);
    effect_ = nullptr;
    params_ = {};
  }
  DropDenoiseState();
  DropCache();
}

// ---- Settings ----

void GreenScreenRenderer::UpdateSettings(const char *config) {
  if (!config || !*config || last_config_ == config) return;
  last_config_ = config;
  GreenScreenSettings working = Settings();
  const std::optional<ConfigChange> change = ApplyGreenScreenConfig(last_config_, working);
  if (!change) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] invalid config json, keep previous settings. json=%s", config);
    return;
  }
  if (!change->changed) return;
  const MutexLock lock(settings_mutex_);
  settings_ = working;
  DropCacheLocked();
  if (change->lut_dirty) key_lut_dirty_ = true;
}

GreenScreenSettings GreenScreenRenderer::Settings() const {
  const MutexLock lock(settings_mutex_);
  return settings_;
}

// ---- One frame ----

bool GreenScreenRenderer::Render(obs_source_t *source, uint64_t frame_index, GreenScreenRenderResult &result) {
  result = {};
  Frame frame;
  frame.source = source;
  frame.index = frame_index;
  if (!BeginFrame(frame, result)) return false;
  if (gs_texture_t *cached = CachedOutput(frame)) return DrawOutput(frame, cached, result);
  if (!FindSourceTexture(frame)) return false;
  if (!EnsureKeyLut())
    return FallBack(frame, "[LX_green_screen_filter][shader] ensure_key_lut failed, fallback passthrough");
  frame.lut_tex = gs_texrender_get_texture(key_lut_target_);
  if (!frame.lut_tex)
    return FallBack(frame, "[LX_green_screen_filter][shader] key lut texture missing, fallback passthrough");
  if (!params_.image)
    return FallBack(frame, "[LX_green_screen_filter][shader] image param missing, fallback passthrough");
  if (!ApplyKeyLut(frame))
    return FallBack(frame, "[LX_green_screen_filter][shader] uvka texture missing, fallback passthrough");
  RefineAlpha(frame);
  gs_texture_t *const output_tex = SuppressSpill(frame);
  if (!output_tex)
    return FallBack(frame, "[LX_green_screen_filter][shader] output texture missing, fallback passthrough");
  FillCache(frame);
  return DrawOutput(frame, output_tex, result);
}

bool GreenScreenRenderer::BeginFrame(Frame &frame, GreenScreenRenderResult &result) {
  if (!frame.source) return false;
  if (!effect_) {
    SkipFilter(frame.source);
    return false;
  }
  obs_source_t *const target = obs_filter_get_target(frame.source);
  if (!target) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] no filter target, skip");
    SkipFilter(frame.source);
    return false;
  }
  frame.width = obs_source_get_base_width(target);
  frame.height = obs_source_get_base_height(target);
  if (frame.width == 0 || frame.height == 0) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] invalid target size (%ux%u), skip", frame.width, frame.height);
    SkipFilter(frame.source);
    return false;
  }
  result.width = frame.width;
  result.height = frame.height;
  if (!obs_source_process_filter_begin(frame.source, GS_RGBA, OBS_NO_DIRECT_RENDERING)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] process_filter_begin failed");
    return false;
  }
  frame.output_supported = params_.output_tex && gs_effect_get_technique(effect_, "OutputDraw");
  gs_viewport_push();
  gs_projection_push();
  return true;
}

gs_texture_t *GreenScreenRenderer::CachedOutput(const Frame &frame) {
  {
    const MutexLock lock(settings_mutex_);
    if (!cache_valid_ || cached_frame_index_ != frame.index || cached_width_ != frame.width ||
        cached_height_ != frame.height || key_lut_dirty_) {
      return nullptr;
    }
  }
  gs_texture_t *const texture = gs_texrender_get_texture(output_target_);
  if (!texture) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] cache expected but output texture missing, rerun pipeline");
    DropCache();
  }
  return texture;
}

bool GreenScreenRenderer::FindSourceTexture(Frame &frame) {
  frame.source_tex = FilterSourceTexture(frame.source);
  if (frame.source_tex) return true;
  blog(LOG_ERROR, "[LX_green_screen_filter][shader] source texture missing after process_filter_begin");
  gs_projection_pop();
  gs_viewport_pop();
  SkipFilter(frame.source);
  return false;
}

bool GreenScreenRenderer::ApplyKeyLut(Frame &frame) {
  SetTexture(params_.uv_lut, frame.lut_tex);
  if (!BeginPass(uvka_target_, frame.width, frame.height)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] begin uvka pass failed (%ux%u)", frame.width, frame.height);
    return false;
  }
  SetTexture(params_.image, frame.source_tex);
  DrawTechnique(effect_, "LutApply");
  EndPass(uvka_target_);
  frame.uvka_tex = gs_texrender_get_texture(uvka_target_);
  return frame.uvka_tex != nullptr;
}

// After any failure the chain starts over from the raw key, never from a half-refined one.
void GreenScreenRenderer::RefineAlpha(Frame &frame) {
  gs_texture_t *&alpha_tex = frame.alpha_tex;
  alpha_tex = frame.uvka_tex;
  if (Settings().denoise_enabled && !Denoise(alpha_tex, frame.width, frame.height, alpha_tex)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] denoise failed, continue with raw alpha");
    alpha_tex = frame.uvka_tex;
  }
  const float shrink = Settings().alpha_shrink;
  if (shrink > kGreenScreenEpsilon && !ShrinkAlpha(alpha_tex, frame.width, frame.height, shrink, alpha_tex)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink failed, continue with raw alpha (shrink=%.4f)",
         static_cast<double>(shrink));
    alpha_tex = frame.uvka_tex;
  }
  const GreenScreenSettings settings = Settings();
  const float intensity = settings.fg_alpha_blur_intensity;
  if (settings.fg_alpha_blur_enabled && intensity > kGreenScreenEpsilon &&
      !BlurAlpha(alpha_tex, frame.width, frame.height, intensity, alpha_tex)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] fg alpha blur failed, continue without blur (intensity=%.4f)",
         static_cast<double>(intensity));
    alpha_tex = frame.uvka_tex;
  }
}

gs_texture_t *GreenScreenRenderer::SuppressSpill(const Frame &frame) {
  SetOutputParameters(frame, Settings());
  if (!BeginPass(output_target_, frame.width, frame.height)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] begin output pass failed (%ux%u)", frame.width, frame.height);
    return nullptr;
  }
  SetTexture(params_.image, frame.source_tex);
  DrawTechnique(effect_, "SpillSuppression");
  EndPass(output_target_);
  return gs_texrender_get_texture(output_target_);
}

void GreenScreenRenderer::SetOutputParameters(const Frame &frame, const GreenScreenSettings &settings) {
  const bool alpha_adjusted = frame.alpha_tex && frame.alpha_tex != frame.uvka_tex;
  SetTexture(params_.uvka_tex, frame.uvka_tex);
  SetTexture(params_.alpha_adjust_tex, frame.alpha_tex);
  SetInt(params_.alpha_adjust_flag, alpha_adjusted ? 1 : 0);
  SetFloat(params_.alpha_down, settings.alpha_down);
  SetFloat(params_.alpha_up, settings.alpha_up);
  SetInt(params_.blue_bg_flag, settings.blue_bg_flag > 0 ? 1 : 0);
  SetInt(params_.spill_sup_flag, SpillSupFlag(settings));
  SetVec3(params_.spill_sup_scale_rgb, settings.spill_sup_scale_r, settings.spill_sup_scale_g,
          settings.spill_sup_scale_b);
  SetFloat(params_.spill_sup_red_w, settings.spill_sup_red_w);
  SetFloat(params_.spill_sup_mix, settings.spill_sup_color_mix);
}

bool GreenScreenRenderer::DrawOutput(const Frame &frame, gs_texture_t *output_tex, GreenScreenRenderResult &result) {
  if (!frame.output_supported) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] output draw unavailable (texture=%d supported=%d), passthrough",
         1, 0);
    return PassThrough(frame);
  }
  SetTexture(params_.output_tex, output_tex);
  gs_projection_pop();
  gs_viewport_pop();
  obs_source_process_filter_tech_end(frame.source, effect_, 0, 0, "OutputDraw");
  result.keyed = true;
  return true;
}

// ---- The frame goes on unkeyed ----

bool GreenScreenRenderer::FallBack(const Frame &frame, const char *message) {
  blog(LOG_ERROR, "%s", message);
  DropCache();
  return PassThrough(frame);
}

bool GreenScreenRenderer::PassThrough(const Frame &frame) {
  gs_projection_pop();
  gs_viewport_pop();
  gs_effect_t *const base = obs_get_base_effect(OBS_EFFECT_DEFAULT);
  if (!base) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] passthrough draw failed: base effect unavailable");
    SkipFilter(frame.source);
    return false;
  }
  obs_source_process_filter_end(frame.source, base, 0, 0);
  return true;
}

// ---- Cache and state ----

void GreenScreenRenderer::FillCache(const Frame &frame) {
  const MutexLock lock(settings_mutex_);
  cached_frame_index_ = frame.index;
  cached_width_ = frame.width;
  cached_height_ = frame.height;
  cache_valid_ = true;
}

void GreenScreenRenderer::DropCache() {
  const MutexLock lock(settings_mutex_);
  DropCacheLocked();
}

void GreenScreenRenderer::DropCacheLocked() {
  cache_valid_ = false;
  cached_frame_index_ = 0;
  cached_width_ = 0;
  cached_height_ = 0;
}

void GreenScreenRenderer::DropDenoiseState() {
  denoise_state_valid_ = false;
  denoise_state_width_ = 0;
  denoise_state_height_ = 0;
}

}  // namespace vanta
