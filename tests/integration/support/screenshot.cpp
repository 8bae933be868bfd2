#include "integration/support/screenshot.h"

#include <graphics/vec4.h>

#include <cstring>

namespace vanta_integration {
namespace {

bool Draw(gs_texrender_t *target, obs_source_t *source, uint32_t width, uint32_t height) {
  if (!gs_texrender_begin(target, width, height)) return false;
  vec4 clear;
  vec4_zero(&clear);
  gs_clear(GS_CLEAR_COLOR, &clear, 0.0f, 0);
  gs_ortho(0.0f, static_cast<float>(width), 0.0f, static_cast<float>(height), -100.0f, 100.0f);
  gs_blend_state_push();
  gs_blend_function(GS_BLEND_ONE, GS_BLEND_ZERO);
  obs_source_video_render(source);
  gs_blend_state_pop();
  gs_texrender_end(target);
  return true;
}

void ReadBack(gs_stagesurf_t *stage, Screenshot &shot) {
  uint8_t *data = nullptr;
  uint32_t linesize = 0;
  if (!gs_stagesurface_map(stage, &data, &linesize)) return;
  shot.pixels.resize(size_t{shot.width} * shot.height * 4);
  for (uint32_t y = 0; y < shot.height; ++y)
    std::memcpy(shot.pixels.data() + size_t{y} * shot.width * 4, data + size_t{y} * linesize, size_t{shot.width} * 4);
  gs_stagesurface_unmap(stage);
}

}  // namespace

std::array<int, 4> Screenshot::At(uint32_t x, uint32_t y) const {
  const uint8_t *pixel = pixels.data() + (size_t{y} * width + x) * 4;
  return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

Screenshot TakeScreenshot(obs_source_t *source) {
  Screenshot shot;
  obs_enter_graphics();
  shot.width = obs_source_get_width(source);
  shot.height = obs_source_get_height(source);
  if (shot.width > 0 && shot.height > 0) {
    gs_texrender_t *target = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
    gs_stagesurf_t *stage = gs_stagesurface_create(shot.width, shot.height, GS_RGBA);
    if (Draw(target, source, shot.width, shot.height)) {
      gs_stage_texture(stage, gs_texrender_get_texture(target));
      ReadBack(stage, shot);
    }
    gs_stagesurface_destroy(stage);
    gs_texrender_destroy(target);
  }
  obs_leave_graphics();
  return shot;
}

}  // namespace vanta_integration
