// The foreground blur: a pyramid of at most three levels, down and up again.
#include <util/base.h>

#include <algorithm>

#include "greenscreen/green_screen_renderer.h"
#include "greenscreen/passes/render_pass.h"

namespace vanta {

bool GreenScreenRenderer::BlurAlpha(gs_texture_t *in, uint32_t width, uint32_t height, float intensity,
                                    gs_texture_t *&out) {
  out = in;
  if (!in || !effect_ || !params_.image || !params_.blur_tex || !params_.blur_offset || !params_.blur_weight ||
      !params_.blur_halfpixel) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] fg alpha blur missing texture/effect param");
    return false;
  }
  const std::optional<BlurShape> shape = ComputeBlurShape(intensity);
  if (!shape) return true;
  const Size frame{width, height};
  Size level_size = frame;
  return BlurDown(in, *shape, level_size) && BlurUp(*shape, frame, level_size) && BlurStep(in, frame, out);
}

bool GreenScreenRenderer::BlurDown(gs_texture_t *in, const BlurShape &shape, Size &level_size) {
  for (int level = 0; level < shape.levels; ++level) {
    level_size = {std::max(level_size.width >> 1, 1u), std::max(level_size.height >> 1, 1u)};
    gs_texture_t *const source = level == 0 ? in : gs_texrender_get_texture(blur_level_targets_[level - 1]);
    if (!source) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur down input missing at level %d", level);
      return false;
    }
    gs_texrender_t *const target = blur_level_targets_[level];
    if (!BeginPass(target, level_size.width, level_size.height)) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur down begin failed at level %d", level);
      return false;
    }
    SetBlurParameters(source, shape, level_size);
    DrawTechnique(effect_, "BlurDown");
    EndPass(target);
  }
  return true;
}

bool GreenScreenRenderer::BlurUp(const BlurShape &shape, Size frame, Size &level_size) {
  for (int level = shape.levels - 1; level >= 0; --level) {
    level_size = {std::min(level_size.width * 2, frame.width), std::min(level_size.height * 2, frame.height)};
    gs_texture_t *const source = gs_texrender_get_texture(blur_level_targets_[level]);
    if (!source) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur up input missing at level %d", level);
      return false;
    }
    gs_texrender_t *const target = level == 0 ? blur_temp_target_ : blur_level_targets_[level - 1];
    if (!BeginPass(target, level_size.width, level_size.height)) {
      blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur up begin failed at level %d", level);
      return false;
    }
    SetBlurParameters(source, shape, level_size);
    DrawTechnique(effect_, "BlurUp");
    EndPass(target);
  }
  return true;
}

bool GreenScreenRenderer::BlurStep(gs_texture_t *in, Size frame, gs_texture_t *&out) {
  gs_texture_t *const blurred = gs_texrender_get_texture(blur_temp_target_);
  if (!blurred) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur temp texture missing");
    return false;
  }
  if (!BeginPass(alpha_shrink_h_target_, frame.width, frame.height)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur step begin failed");
    return false;
  }
  SetTexture(params_.image, in);
  SetTexture(params_.blur_tex, blurred);
  DrawTechnique(effect_, "BlurStep");
  EndPass(alpha_shrink_h_target_);
  out = gs_texrender_get_texture(alpha_shrink_h_target_);
  if (out) return true;
  blog(LOG_ERROR, "[LX_green_screen_filter][shader] blur step output missing");
  return false;
}

void GreenScreenRenderer::SetBlurParameters(gs_texture_t *image, const BlurShape &shape, Size target) {
  SetTexture(params_.image, image);
  SetFloat(params_.blur_offset, shape.offset);
  SetFloat(params_.blur_weight, shape.weight);
  SetVec2(params_.blur_halfpixel, 0.5f / static_cast<float>(target.width), 0.5f / static_cast<float>(target.height));
}

}  // namespace vanta
