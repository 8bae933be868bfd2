#include "greenscreen/passes/backing_map_pass.h"

#include <algorithm>
#include <iterator>

#include "greenscreen/passes/key_info.h"
#include "greenscreen/targets/render_pass.h"

namespace vanta {
namespace {

constexpr const char *kTechniques[] = {"BackingCells", "BackingMap", "FineMap", "MixingCells", "Mixing"};
constexpr FrameSize kOnePixel{1, 1};

}  // namespace

void BackingMapPass::Bind(const GreenScreenEffect &effect) {
  offered_ = std::all_of(std::begin(kTechniques), std::end(kTechniques),
                         [&](const char *technique) { return effect.HasTechnique(technique); });
  if (!offered_) return;
  params_.backing_tex = effect.OptionalParameter("backing_tex");
  params_.mixing_cells_tex = effect.OptionalParameter("mixing_cells_tex");
  params_.mixing_tex = effect.OptionalParameter("mixing_tex");
  params_.backing_flag = effect.OptionalParameter("backing_flag");
  params_.mixing_flag = effect.OptionalParameter("mixing_flag");
  params_.key_color = effect.OptionalParameter("key_color");
  params_.frame_texel = effect.OptionalParameter("frame_texel");
  offered_ = params_.backing_tex && params_.mixing_cells_tex && params_.mixing_tex && params_.backing_flag &&
             params_.mixing_flag && params_.key_color && params_.frame_texel;
}

void BackingMapPass::Run(const GreenScreenEffect &effect, const BeforeKey &input) {
  found_ = offered_ && CreateTargets() ? Draw(effect, input) : nullptr;
  SetFound(input);
}

// Also where nothing was found: libobs shares the effect with other filters.
void BackingMapPass::SetFound(const BeforeKey &input) {
  SetTexture(params_.backing_tex, found_);
  SetInt(params_.backing_flag, found_ ? 1 : 0);
  SetKeyColor(input);
  SetFrameTexel(input);
}

bool BackingMapPass::CreateTargets() {
  // Half floats: eight bits would show as steps of the matte where the light falls off slowly. The fine map spreads the
  // light over two channels.
  struct Target {
    RenderTarget &target;
    gs_color_format format;
  };
  for (const auto &[target, format] : {Target{cells_, GS_RGBA16F}, Target{map_, GS_RGBA16F}, Target{fine_map_, GS_RGBA},
                                       Target{mixing_cells_, GS_RGBA16F}})
    if (!target.exists() && !target.Create(format)) return false;
  return mixing_.exists() || mixing_.Create(GS_RGBA16F);
}

gs_texture_t *BackingMapPass::Draw(const GreenScreenEffect &effect, const BeforeKey &input) {
  ForgetOthers(input);
  const bool first = !drawn_;
  drawn_ = UpdateMap(effect, input) && UpdateMixing(effect, input);
  // What the first picture says of itself is for that picture too.
  if (first && drawn_) drawn_ = DrawMaps(effect, input);
  return drawn_ ? fine_map_.Texture() : nullptr;
}

void BackingMapPass::ForgetOthers(const BeforeKey &input) {
  const GreenScreenSettings &settings = input.settings;
  if (drawn_ && size_ == input.size && similarity_ == settings.similarity &&
      std::equal(std::begin(key_color_), std::end(key_color_), std::begin(settings.key_color)))
    return;
  drawn_ = false;
  mixing_.Forget();
  size_ = input.size;
  similarity_ = settings.similarity;
  std::copy(std::begin(settings.key_color), std::end(settings.key_color), std::begin(key_color_));
}

bool BackingMapPass::UpdateMap(const GreenScreenEffect &effect, const BeforeKey &input) {
  if (drawn_ && input.frame_index - map_tick_ < kTicks) return true;
  map_tick_ = input.frame_index;
  return DrawMaps(effect, input);
}

bool BackingMapPass::DrawMaps(const GreenScreenEffect &effect, const BeforeKey &input) {
  gs_texture_t *const previous = mixing_.Previous(input.size);
  return DrawCells(effect, input, previous) && DrawMap(effect, previous) && DrawFineMap(effect, input);
}

bool BackingMapPass::UpdateMixing(const GreenScreenEffect &effect, const BeforeKey &input) {
  if (drawn_ && input.frame_index - mixing_tick_ < kMixingTicks) return true;
  if (!DrawMixingCells(effect, input)) return false;
  DrawMixing(effect, input, mixing_.Previous(input.size));
  mixing_tick_ = drawn_ ? input.frame_index : input.frame_index - kTicks / 2;
  return true;
}

// libobs forgets the parameters of a technique when it ends, so each pass sets all of its own.

bool BackingMapPass::DrawCells(const GreenScreenEffect &effect, const BeforeKey &input, gs_texture_t *previous) {
  const RenderPass pass(cells_, kMapSize);
  if (!pass) return false;
  SetTexture(effect.params().image, input.source_tex);
  SetTexture(effect.params().uv_lut, input.lut_tex);
  SetKeyColor(input);
  SetMixing(previous);
  effect.Draw("BackingCells");
  return true;
}

bool BackingMapPass::DrawMap(const GreenScreenEffect &effect, gs_texture_t *previous) {
  const RenderPass pass(map_, kMapSize);
  if (!pass) return false;
  SetTexture(params_.backing_tex, cells_.Texture());
  SetMixing(previous);
  effect.Draw("BackingMap");
  return true;
}

bool BackingMapPass::DrawFineMap(const GreenScreenEffect &effect, const BeforeKey &input) {
  const RenderPass pass(fine_map_, kFineMapSize);
  if (!pass) return false;
  SetTexture(params_.backing_tex, map_.Texture());
  SetKeyColor(input);
  effect.Draw("FineMap");
  return true;
}

bool BackingMapPass::DrawMixingCells(const GreenScreenEffect &effect, const BeforeKey &input) {
  const RenderPass pass(mixing_cells_, kMapSize);
  if (!pass) return false;
  const KeyInfo key = ComputeKeyInfo(input.settings.key_color);
  SetTexture(effect.params().image, input.source_tex);
  SetVec4(effect.params().key_info, key.x, key.y, key.z, key.w);
  SetTexture(params_.backing_tex, map_.Texture());
  SetFrameTexel(input);
  effect.Draw("MixingCells");
  return true;
}

void BackingMapPass::DrawMixing(const GreenScreenEffect &effect, const BeforeKey &input, gs_texture_t *previous) {
  {
    const RenderPass pass(mixing_.next(), kOnePixel);
    if (!pass) return;
    SetTexture(params_.backing_tex, cells_.Texture());
    SetTexture(params_.mixing_cells_tex, mixing_cells_.Texture());
    SetKeyColor(input);
    SetMixing(previous);
    effect.Draw("Mixing");
  }
  mixing_.Advance(input.size);
}

void BackingMapPass::SetKeyColor(const BeforeKey &input) {
  const float(&color)[3] = input.settings.key_color;
  SetVec3(params_.key_color, color[0], color[1], color[2]);
}

void BackingMapPass::SetFrameTexel(const BeforeKey &input) {
  SetVec2(params_.frame_texel, 1.0f / static_cast<float>(input.size.width),
          1.0f / static_cast<float>(input.size.height));
}

void BackingMapPass::SetMixing(gs_texture_t *previous) {
  SetTexture(params_.mixing_tex, previous);
  SetInt(params_.mixing_flag, previous ? 1 : 0);
}

void BackingMapPass::Release() {
  cells_.Destroy();
  map_.Destroy();
  fine_map_.Destroy();
  mixing_cells_.Destroy();
  mixing_.Destroy();
  params_ = {};
  offered_ = false;
  drawn_ = false;
  found_ = nullptr;
}

}  // namespace vanta
