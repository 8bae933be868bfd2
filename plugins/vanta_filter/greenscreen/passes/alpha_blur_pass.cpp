#include "greenscreen/passes/alpha_blur_pass.h"

#include <util/base.h>

#include <algorithm>

#include "greenscreen/targets/render_pass.h"

namespace vanta {
namespace {

void SetParameters(const EffectParameters &params, gs_texture_t *image, const BlurShape &shape, FrameSize target) {
  SetTexture(params.image, image);
  SetFloat(params.blur_offset, shape.offset);
  SetFloat(params.blur_weight, shape.weight);
  SetVec2(params.blur_halfpixel, 0.5f / static_cast<float>(target.width), 0.5f / static_cast<float>(target.height));
}

}  // namespace

bool AlphaBlurPass::Create() {
  bool all = true;
  for (RenderTarget &level : levels_) all = level.Create() && all;
  return whole_.Create() && all;
}

void AlphaBlurPass::Destroy() {
  for (RenderTarget &level : levels_) level.Destroy();
  whole_.Destroy();
}

gs_texture_t *AlphaBlurPass::Run(const GreenScreenEffect &effect, gs_texture_t *in, FrameSize size, float intensity,
                                 const RenderTarget &step_target) {
  const EffectParameters &params = effect.params();
  if (!in || !effect.loaded() || !params.image || !params.blur_tex || !params.blur_offset || !params.blur_weight ||
      !params.blur_halfpixel) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] fg alpha blur missing texture/effect param");
    return nullptr;
  }
  const std::optional<BlurShape> shape = ComputeBlurShape(intensity);
  if (!shape) return in;
  FrameSize level_size = size;
  if (!Down(effect, in, *shape, level_size) || !Up(effect, *shape, size, level_size)) return nullptr;
  return Step(effect, in, size, step_target);
}

bool AlphaBlurPass::Down(const GreenScreenEffect &effect, gs_texture_t *in, const BlurShape &shape,
                         FrameSize &level_size) {
  for (int level = 0; level < shape.levels; ++level) {
    level_size = {std::max(level_size.width >> 1, 1u), std::max(level_size.height >> 1, 1u)};
    gs_texture_t *const source = level == 0 ? in : levels_[level - 1].Texture();
    if (!source) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur down input missing at level %d", level);
      return false;
    }
    const RenderPass pass(levels_[level], level_size);
    if (!pass) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur down begin failed at level %d", level);
      return false;
    }
    SetParameters(effect.params(), source, shape, level_size);
    effect.Draw("BlurDown");
  }
  return true;
}

bool AlphaBlurPass::Up(const GreenScreenEffect &effect, const BlurShape &shape, FrameSize frame,
                       FrameSize &level_size) {
  for (int level = shape.levels - 1; level >= 0; --level) {
    level_size = {std::min(level_size.width * 2, frame.width), std::min(level_size.height * 2, frame.height)};
    gs_texture_t *const source = levels_[level].Texture();
    if (!source) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur up input missing at level %d", level);
      return false;
    }
    const RenderPass pass(level == 0 ? whole_ : levels_[level - 1], level_size);
    if (!pass) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur up begin failed at level %d", level);
      return false;
    }
    SetParameters(effect.params(), source, shape, level_size);
    effect.Draw("BlurUp");
  }
  return true;
}

gs_texture_t *AlphaBlurPass::Step(const GreenScreenEffect &effect, gs_texture_t *in, FrameSize size,
                                  const RenderTarget &target) {
  gs_texture_t *const blurred = whole_.Texture();
  if (!blurred) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur temp texture missing");
    return nullptr;
  }
  {
    const RenderPass pass(target, size);
    if (!pass) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur step begin failed");
      return nullptr;
    }
    SetTexture(effect.params().image, in);
    SetTexture(effect.params().blur_tex, blurred);
    effect.Draw("BlurStep");
  }
  gs_texture_t *const out = target.Texture();
  if (!out) blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur step output missing");
  return out;
}

}  // namespace vanta
