// The temporal denoise and the shrink of the key.
#include <util/base.h>

#include <algorithm>
#include <utility>

#include "greenscreen/green_screen_renderer.h"
#include "greenscreen/passes/render_pass.h"

namespace vanta {

// Each result is the next frame's previous state: the same texture is this frame's key and the memory.
bool GreenScreenRenderer::Denoise(gs_texture_t *in, uint32_t width, uint32_t height, gs_texture_t *&out) {
  out = in;
  if (!in) return false;
  if (!effect_ || !params_.image || !params_.prev_state_tex || !params_.denoise_q || !params_.denoise_init_flag ||
      !params_.denoise_offset || !denoise_state_target_ || !denoise_next_target_) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] denoise missing texture/effect param");
    return false;
  }
  gs_texture_t *const prev = denoise_state_valid_ && denoise_state_width_ == width && denoise_state_height_ == height
                                 ? gs_texrender_get_texture(denoise_state_target_)
                                 : nullptr;
  if (!BeginPass(denoise_next_target_, width, height)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] denoise begin failed");
    return false;
  }
  SetTexture(params_.image, in);
  if (prev) SetTexture(params_.prev_state_tex, prev);
  SetFloat(params_.denoise_q, Settings().a_kalman_q);
  SetInt(params_.denoise_init_flag, prev ? 0 : 1);
  SetVec2(params_.denoise_offset, 1.0f / static_cast<float>(width), 1.0f / static_cast<float>(height));
  DrawTechnique(effect_, "Denoise");
  EndPass(denoise_next_target_);
  std::swap(denoise_state_target_, denoise_next_target_);
  out = gs_texrender_get_texture(denoise_state_target_);
  if (!out) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] denoise output texture missing");
    DropDenoiseState();
    return false;
  }
  denoise_state_valid_ = true;
  denoise_state_width_ = width;
  denoise_state_height_ = height;
  return true;
}

bool GreenScreenRenderer::ShrinkAlpha(gs_texture_t *in, uint32_t width, uint32_t height, float shrink,
                                      gs_texture_t *&out) {
  out = in;
  if (!in || !effect_ || !params_.image || !params_.alpha_shrink_offset) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink missing texture/effect param");
    return false;
  }
  const float pixels = std::max(shrink, 0.0f);
  if (pixels <= kGreenScreenEpsilon) return true;
  const Size size{width, height};
  if (!RunShrinkPass(alpha_shrink_h_target_, in, size, pixels / static_cast<float>(width), 0.0f)) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink pass H begin failed");
    return false;
  }
  gs_texture_t *const horizontal = gs_texrender_get_texture(alpha_shrink_h_target_);
  if (!horizontal) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink pass H output missing");
    return false;
  }
  if (!RunShrinkPass(alpha_shrink_v_target_, horizontal, size, 0.0f, pixels / static_cast<float>(height))) {
    blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink pass V begin failed");
    return false;
  }
  out = gs_texrender_get_texture(alpha_shrink_v_target_);
  if (out) return true;
  blog(LOG_ERROR, "[LX_green_screen_filter][shader] alpha shrink pass V output missing");
  return false;
}

// `dx`, `dy`: the step, in texture coordinates; one of them is 0.
bool GreenScreenRenderer::RunShrinkPass(gs_texrender_t *target, gs_texture_t *in, Size size, float dx, float dy) {
  if (!BeginPass(target, size.width, size.height)) return false;
  SetTexture(params_.image, in);
  SetVec2(params_.alpha_shrink_offset, dx, dy);
  DrawTechnique(effect_, "AlphaShrink");
  EndPass(target);
  return true;
}

}  // namespace vanta
