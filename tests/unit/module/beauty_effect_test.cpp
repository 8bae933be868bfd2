// The beauty effect, compiled and drawn by libobs on software GL.
#include <algorithm>
#include <array>
#include <cstdint>

#include <gtest/gtest.h>
#include <obs.h>

#include "fixtures/host/headless_session.h"

namespace {

constexpr uint32_t kWidth = 4;
constexpr uint32_t kHeight = 2;
using Picture = std::array<uint8_t, kWidth * kHeight * 4>;

// libobs with video, and its graphics entered.
class BeautyEffect : public testing::Test {
 protected:
  BeautyEffect() {
    EXPECT_TRUE(vanta_test::StartVideo());
    obs_enter_graphics();
    effect_ = gs_effect_create_from_file(VANTA_TEST_DATA_FOLDER "/vanta_beauty.effect", nullptr);
  }
  ~BeautyEffect() override {
    gs_effect_destroy(effect_);
    obs_leave_graphics();
  }

  // Draws `picture` with the effect over transparent black and reads the result back.
  Picture Draw(const Picture &picture) {
    const uint8_t *pixels = picture.data();
    gs_texture_t *texture = gs_texture_create(kWidth, kHeight, GS_RGBA, 1, &pixels, 0);
    gs_texrender_t *target = gs_texrender_create(GS_RGBA, GS_ZS_NONE);
    EXPECT_TRUE(gs_texrender_begin(target, kWidth, kHeight));
    const vec4 clear{};
    gs_clear(GS_CLEAR_COLOR, &clear, 0.0f, 0);
    gs_ortho(0.0f, kWidth, 0.0f, kHeight, -100.0f, 100.0f);
    // The state in which libobs calls a filter; before its first picture it has not set it itself.
    gs_enable_depth_test(false);
    gs_set_cull_mode(GS_NEITHER);
    gs_blend_state_push();
    gs_enable_blending(false);
    gs_effect_set_texture(gs_effect_get_param_by_name(effect_, "image"), texture);
    while (gs_effect_loop(effect_, "Draw")) gs_draw_sprite(texture, 0, kWidth, kHeight);
    gs_blend_state_pop();
    gs_texrender_end(target);
    const Picture result = ReadBack(gs_texrender_get_texture(target));
    gs_texrender_destroy(target);
    gs_texture_destroy(texture);
    return result;
  }

  gs_effect_t *effect_ = nullptr;

 private:
  static Picture ReadBack(gs_texture_t *texture) {
    Picture result{};
    gs_stagesurf_t *stage = gs_stagesurface_create(kWidth, kHeight, GS_RGBA);
    gs_stage_texture(stage, texture);
    uint8_t *data = nullptr;
    uint32_t pitch = 0;
    EXPECT_TRUE(gs_stagesurface_map(stage, &data, &pitch));
    for (size_t row = 0; data && row < kHeight; ++row) {
      std::copy_n(data + row * pitch, kWidth * 4, result.begin() + static_cast<std::ptrdiff_t>(row * kWidth * 4));
    }
    gs_stagesurface_unmap(stage);
    gs_stagesurface_destroy(stage);
    return result;
  }

  vanta_test::HeadlessSession obs_;
};

TEST_F(BeautyEffect, OffersTheTechniqueAndTheParameterOfTheFilter) {
  ASSERT_NE(effect_, nullptr);
  EXPECT_NE(gs_effect_get_technique(effect_, "Draw"), nullptr);
  EXPECT_NE(gs_effect_get_param_by_name(effect_, "image"), nullptr);
}

TEST_F(BeautyEffect, DrawsEveryPixelAsItIs) {
  ASSERT_NE(effect_, nullptr);
  Picture picture;
  for (size_t i = 0; i < picture.size(); ++i) picture[i] = static_cast<uint8_t>(i * 8 + 3);  // alpha varies too
  EXPECT_EQ(Draw(picture), picture);
}

}  // namespace
