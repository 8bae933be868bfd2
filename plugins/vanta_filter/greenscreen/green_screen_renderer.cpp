#include "greenscreen/green_screen_renderer.h"

#include <util/base.h>

namespace vanta {

// ---- Life ----

bool GreenScreenRenderer::Initialise(const char *effect_file_name) {
  Teardown();
  if (!CreateTargets()) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] create texrender failed");
    Teardown();
    return false;
  }
  if (!effect_.Load(effect_file_name)) {
    Teardown();
    return false;
  }
  for (const auto &pass : optional_passes_) pass->Bind(effect_);
  return true;
}

bool GreenScreenRenderer::CreateTargets() {
  const GraphicsScope graphics;
  bool all = key_lut_.Create();
  all = lut_apply_.Create() && all;
  all = refinement_.Create() && all;
  return spill_.Create() && all;
}

void GreenScreenRenderer::Teardown() {
  const GraphicsScope graphics;
  key_lut_.Destroy();
  for (const auto &pass : optional_passes_) pass->Release();
  lut_apply_.Destroy();
  refinement_.Destroy();
  spill_.Destroy();
  effect_.Unload();
  cache_.Drop();
}

// ---- One frame ----

bool GreenScreenRenderer::Render(obs_source_t *source, uint64_t frame_index, GreenScreenRenderResult &result) {
  result = {};
  FilterFrame frame(source);
  const bool begun = frame.Begin(effect_);
  const FrameSize size = frame.size();
  result.width = size.width;
  result.height = size.height;
  if (!begun) return false;

  const SettingsSnapshot settings = settings_.Snapshot();
  const OutputCache::Key cache_key{frame_index, size, settings.revision};
  if (gs_texture_t *cached = CachedOutput(cache_key, settings.key_revision)) return DrawOutput(frame, cached, result);

  gs_texture_t *const source_tex = frame.SourceTexture();
  if (!source_tex) return false;
  if (!key_lut_.Ensure(effect_, settings))
    return FallBack(frame, "[LX_green_screen_filter][shader] ensure_key_lut failed, fallback passthrough");
  gs_texture_t *const lut_tex = key_lut_.Texture();
  if (!lut_tex)
    return FallBack(frame, "[LX_green_screen_filter][shader] key lut texture missing, fallback passthrough");
  if (!effect_.params().image)
    return FallBack(frame, "[LX_green_screen_filter][shader] image param missing, fallback passthrough");

  const BeforeKey before_key{size, source_tex, lut_tex, frame_index, settings.values};
  for (const auto &pass : optional_passes_) pass->Run(effect_, before_key);

  gs_texture_t *const uvka_tex = lut_apply_.Run(effect_, source_tex, lut_tex, size);
  if (!uvka_tex) return FallBack(frame, "[LX_green_screen_filter][shader] uvka texture missing, fallback passthrough");
  gs_texture_t *const alpha_tex = refinement_.Run(effect_, uvka_tex, size, settings_);
  for (const auto &pass : optional_passes_) pass->SetForSpill(before_key);
  gs_texture_t *const output_tex = spill_.Run(effect_, {source_tex, uvka_tex, alpha_tex, size}, settings_.Current());
  if (!output_tex)
    return FallBack(frame, "[LX_green_screen_filter][shader] output texture missing, fallback passthrough");
  cache_.Fill(cache_key);
  return DrawOutput(frame, output_tex, result);
}

gs_texture_t *GreenScreenRenderer::CachedOutput(const OutputCache::Key &key, uint64_t key_revision) {
  if (!cache_.Holds(key) || !key_lut_.IsCurrent(key_revision)) return nullptr;
  gs_texture_t *const texture = spill_.Texture();
  if (!texture) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] cache expected but output texture missing, rerun pipeline");
    cache_.Drop();
  }
  return texture;
}

bool GreenScreenRenderer::DrawOutput(FilterFrame &frame, gs_texture_t *output_tex, GreenScreenRenderResult &result) {
  if (!frame.DrawKeyed(effect_, output_tex)) return frame.PassThrough();
  result.keyed = true;
  return true;
}

bool GreenScreenRenderer::FallBack(FilterFrame &frame, const char *message) {
  blog(LOG_ERROR, "%s", message);
  cache_.Drop();
  return frame.PassThrough();
}

}  // namespace vanta
