// The passes of a frame, in order, with what each reads and writes, and when they run again.
#include <gmock/gmock.h>

#include <algorithm>

#include "fixtures/module/green_screen_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Strings = std::vector<std::string>;

class RenderOrder : public GreenScreenFixture {};

void Append(Strings &calls, const Strings &more) {
  calls.insert(calls.end(), more.begin(), more.end());
}

Strings BeginPassCalls(const std::string &target, const std::string &width, const std::string &height) {
  return {"gs_texrender_reset(" + target + ")",
          "gs_texrender_begin(" + target + ", " + width + ", " + height + ")",
          "gs_blend_state_push()",
          "gs_enable_blending(0)",
          "gs_clear(GS_CLEAR_COLOR, (0, 0, 0, 0), 0, 0)",
          "gs_set_cull_mode(GS_NEITHER)",
          "gs_set_viewport(0, 0, " + width + ", " + height + ")",
          "gs_ortho(0, 1, 0, 1, -100, 100)"};
}

Strings DrawCalls(const std::string &technique) {
  const std::string loop = "gs_effect_loop(effect1, " + technique + ")";
  return {loop, "gs_draw_sprite(null, 0, 1, 1)", loop};
}

Strings EndPassCalls(const std::string &target) {
  return {"gs_texrender_end(" + target + ")", "gs_blend_state_pop()", "gs_texrender_get_texture(" + target + ")"};
}

TEST_F(RenderOrder, EveryCallOfAFirstFrame) {
  Create(R"({"denoiseEnabled":false,"keyColor":[0,0,1],"similarity":0})");
  NextFrame();
  Strings expected = {
      "obs_filter_get_target(filter)", "obs_source_get_base_width(target)", "obs_source_get_base_height(target)",
      "obs_source_process_filter_begin(filter, GS_RGBA, OBS_NO_DIRECT_RENDERING)",
      "gs_effect_get_technique(effect1, OutputDraw)", "gs_viewport_push()", "gs_projection_push()",
      // The filter's own texture.
      "obs_get_base_effect(OBS_EFFECT_DEFAULT)", "gs_effect_get_param_by_name(base effect, image)",
      "gs_effect_set_texture(image, null)", "obs_source_process_filter_tech_end(filter, base effect, 0, 0, )",
      "gs_effect_get_val(image)", "gs_effect_set_texture(image, null)"};
  Append(expected, BeginPassCalls(kKeyLutTarget, "2560", "2560"));
  Append(expected,
         {"gs_effect_set_vec2(angle_info, 0, 0)", "gs_effect_set_vec4(key_info, -0.160516, 0.987033, 1.01314, 0)",
          "gs_effect_set_int(spill_sup_flag, 5)", "gs_effect_set_float(spill_sup_offset, 0.55)",
          "gs_effect_set_float(spill_sup_yth, 0.9)"});
  Append(expected, DrawCalls("KeyLut"));
  Append(expected, EndPassCalls(kKeyLutTarget));
  Append(expected, {"gs_texrender_get_texture(" + kKeyLutTarget + ")",
                    "gs_effect_set_texture(uv_lut, " + kKeyLutTarget + ".texture)"});
  Append(expected, BeginPassCalls(kUvkaTarget, "64", "48"));
  Append(expected, {"gs_effect_set_texture(image, filter.frame)"});
  Append(expected, DrawCalls("LutApply"));
  Append(expected, EndPassCalls(kUvkaTarget));
  Append(expected, {"gs_effect_set_texture(uvka_tex, " + kUvkaTarget + ".texture)",
                    "gs_effect_set_texture(alpha_adjust_tex, " + kUvkaTarget + ".texture)",
                    "gs_effect_set_int(alpha_adjust_flag, 0)", "gs_effect_set_float(alpha_down, 0.75)",
                    "gs_effect_set_float(alpha_up, 0.25)", "gs_effect_set_int(blue_bg_flag, 1)",
                    "gs_effect_set_int(spill_sup_flag, 5)", "gs_effect_set_vec3(spill_sup_scale_rgb, 0.5, -1, 0)",
                    "gs_effect_set_float(spill_sup_red_w, 0.85)", "gs_effect_set_float(spill_sup_mix, 0.5)"});
  Append(expected, BeginPassCalls(kOutputTarget, "64", "48"));
  Append(expected, {"gs_effect_set_texture(image, filter.frame)"});
  Append(expected, DrawCalls("SpillSuppression"));
  Append(expected, EndPassCalls(kOutputTarget));
  Append(expected, {"gs_effect_set_texture(output_tex, " + kOutputTarget + ".texture)", "gs_projection_pop()",
                    "gs_viewport_pop()", "obs_source_process_filter_tech_end(filter, effect1, 0, 0, OutputDraw)"});
  EXPECT_EQ(gs_recorder::Calls(), expected);
}

TEST_F(RenderOrder, EveryCallOfASecondRenderInTheTick) {
  Create();
  NextFrame();
  ClearNotes();
  Render();
  EXPECT_EQ(gs_recorder::Calls(),
            (Strings{"obs_filter_get_target(filter)", "obs_source_get_base_width(target)",
                     "obs_source_get_base_height(target)",
                     "obs_source_process_filter_begin(filter, GS_RGBA, OBS_NO_DIRECT_RENDERING)",
                     "gs_effect_get_technique(effect1, OutputDraw)", "gs_viewport_push()", "gs_projection_push()",
                     "gs_texrender_get_texture(" + kOutputTarget + ")",
                     "gs_effect_set_texture(output_tex, " + kOutputTarget + ".texture)", "gs_projection_pop()",
                     "gs_viewport_pop()", "obs_source_process_filter_tech_end(filter, effect1, 0, 0, OutputDraw)"}));
}

TEST_F(RenderOrder, AllPassesOfOneFrameAndWhatFeedsThem) {
  Create(R"({"alphaShrink":2,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":1})");
  NextFrame();
  EXPECT_THAT(
      Passes(),
      ElementsAre(
          "KeyLut texrender1 2560x2560 image=null image=null",
          "LutApply texrender2 64x48 uv_lut=texrender1.texture image=filter.frame",
          "Denoise texrender4 64x48 image=texrender2.texture", "AlphaShrink texrender5 64x48 image=texrender4.texture",
          "AlphaShrink texrender6 64x48 image=texrender5.texture", "BlurDown texrender7 32x24 image=texrender6.texture",
          "BlurDown texrender8 16x12 image=texrender7.texture", "BlurDown texrender9 8x6 image=texrender8.texture",
          "BlurUp texrender8 16x12 image=texrender9.texture", "BlurUp texrender7 32x24 image=texrender8.texture",
          "BlurUp texrender10 64x48 image=texrender7.texture",
          "BlurStep texrender5 64x48 image=texrender6.texture blur_tex=texrender10.texture",
          "SpillSuppression texrender11 64x48 uvka_tex=texrender2.texture "
          "alpha_adjust_tex=texrender5.texture image=filter.frame"));
  EXPECT_TRUE(DrawnKeyed());
  EXPECT_THAT(Errors(), IsEmpty());
}

// ---- Whether the key was adjusted ----

TEST_F(RenderOrder, WithoutRefinementTheAdjustedKeyIsTheRawOne) {
  Create(R"({"denoiseEnabled":false})");
  NextFrame();
  EXPECT_EQ(LastValue("alpha_adjust_flag"), "0");
  EXPECT_EQ(LastValue("alpha_adjust_tex"), kUvkaTarget + ".texture");
}

TEST_F(RenderOrder, DenoiseAloneAdjustsTheKey) {
  Create(R"({"alphaAdjustEnabled":false})");
  NextFrame();
  EXPECT_EQ(LastValue("alpha_adjust_flag"), "1");
  EXPECT_EQ(LastValue("alpha_adjust_tex"), kNextTarget + ".texture");
}

// ---- Denoise ----

TEST_F(RenderOrder, DenoiseWritesInTurnAndReadsWhatItWroteBefore) {
  Create();
  NextFrame();
  EXPECT_EQ(Passes()[2], "Denoise texrender4 64x48 image=texrender2.texture");
  NextFrame();
  EXPECT_EQ(Passes()[1], "Denoise texrender3 64x48 image=texrender2.texture prev_state_tex=texrender4.texture");
  NextFrame();
  EXPECT_EQ(Passes()[1], "Denoise texrender4 64x48 image=texrender2.texture prev_state_tex=texrender3.texture");
}

TEST_F(RenderOrder, DenoiseGetsItsGainAndOneTexel) {
  Create(R"({"aKalmanQ":40})");
  NextFrame();
  EXPECT_EQ(LastValue("denoise_q"), "40");
  EXPECT_EQ(LastValue("denoise_offset"), "0.015625, 0.0208333");
}

TEST_F(RenderOrder, DenoiseBeginsAnewOnTheFirstFrameAlone) {
  Create();
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "1");
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "0");
}

TEST_F(RenderOrder, DenoiseBeginsAnewWhereItsStateWasLost) {
  Create();
  NextFrame();
  gs_recorder::FailAll("gs_texrender_get_texture(" + kNextTarget + ")");
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "1");
  EXPECT_EQ(LastValue("prev_state_tex"), "") << "there is no state to hand over";
  EXPECT_THAT(Errors(), IsEmpty());
  gs_recorder::AllowAll();
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "0");
}

TEST_F(RenderOrder, DenoiseBeginsAnewOnceAfterASizeChangeWithoutAMessage) {
  target_.width = 1920;
  target_.height = 1080;
  Create();
  NextFrame();
  target_.width = 1280;
  target_.height = 720;
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "1");
  EXPECT_THAT(PassNames(), ElementsAre("LutApply", "Denoise", "SpillSuppression"));
  EXPECT_THAT(Errors(), IsEmpty());
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "0");
}

TEST_F(RenderOrder, AStateLeftStandingIsUsedAgain) {
  Create();
  NextFrame();
  Update(R"({"denoiseEnabled":false})");
  NextFrame();
  NextFrame();
  Update(R"({"denoiseEnabled":true})");
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "0");
  EXPECT_EQ(LastValue("prev_state_tex"), kNextTarget + ".texture");
}

TEST_F(RenderOrder, TheStateSurvivesASettingsChangeAndAFallBack) {
  Create();
  NextFrame();
  Update(R"({"keyColor":[0,0,1]})");
  gs_recorder::FailAll("gs_texrender_begin(" + kOutputTarget + ",");
  NextFrame();
  EXPECT_TRUE(PassedThrough());
  EXPECT_EQ(LastValue("denoise_init_flag"), "0");
  gs_recorder::AllowAll();
  NextFrame();
  EXPECT_EQ(LastValue("denoise_init_flag"), "0");
}

// ---- Shrink ----

TEST_F(RenderOrder, ShrinkStepsByPixelsAlongOneAxisAPass) {
  Create(R"({"denoiseEnabled":false,"alphaShrink":2})");
  NextFrame();
  const Strings calls = gs_recorder::Calls();
  Strings offsets;
  for (const std::string &call : calls) {
    if (call.find("alpha_shrink_offset") != std::string::npos) offsets.push_back(call);
  }
  EXPECT_THAT(offsets, ElementsAre("gs_effect_set_vec2(alpha_shrink_offset, 0.03125, 0)",
                                   "gs_effect_set_vec2(alpha_shrink_offset, 0, 0.0416667)"));
}

TEST_F(RenderOrder, NoShrinkAtAMillionthOfAPixel) {
  Create(R"({"denoiseEnabled":false,"alphaShrink":5})");
  Update(R"({"alphaShrink":0.000001})");
  NextFrame();
  EXPECT_THAT(PassNames(), ElementsAre("KeyLut", "LutApply", "SpillSuppression"));
}

// ---- Blur ----

Strings BlurPasses(const Strings &passes) {
  Strings blur;
  for (const std::string &pass : passes) {
    if (pass.rfind("Blur", 0) == 0) blur.push_back(pass.substr(0, pass.find(" image")));
  }
  return blur;
}

TEST_F(RenderOrder, WeakBlurHasOneLevel) {
  Create(R"({"denoiseEnabled":false,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.25})");
  NextFrame();
  EXPECT_THAT(BlurPasses(Passes()),
              ElementsAre("BlurDown texrender7 32x24", "BlurUp texrender10 64x48", "BlurStep texrender5 64x48"));
  EXPECT_EQ(LastValue("blur_offset"), "3.15");
  EXPECT_EQ(LastValue("blur_halfpixel"), "0.0078125, 0.0104167") << "of the last pass's target";
}

TEST_F(RenderOrder, BlurOfAnOddSizeComesBackAPixelShort) {
  target_.width = 1921;
  target_.height = 1081;
  Create(R"({"denoiseEnabled":false,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.25})");
  NextFrame();
  EXPECT_THAT(BlurPasses(Passes()), ElementsAre("BlurDown texrender7 960x540", "BlurUp texrender10 1920x1080",
                                                "BlurStep texrender5 1921x1081"));
}

TEST_F(RenderOrder, BlurOfATinySourceStaysAtOnePixel) {
  target_.width = target_.height = 1;
  Create(R"({"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":1})");
  NextFrame();
  EXPECT_THAT(BlurPasses(Passes()),
              ElementsAre("BlurDown texrender7 1x1", "BlurDown texrender8 1x1", "BlurDown texrender9 1x1",
                          "BlurUp texrender8 1x1", "BlurUp texrender7 1x1", "BlurUp texrender10 1x1",
                          "BlurStep texrender5 1x1"));
  EXPECT_TRUE(DrawnKeyed());
}

TEST_F(RenderOrder, BlurIsNotEnteredAtNoIntensity) {
  Create(R"({"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0})");
  NextFrame();
  EXPECT_THAT(BlurPasses(Passes()), IsEmpty());
  EXPECT_THAT(Errors(), IsEmpty());
  EXPECT_EQ(gs_recorder::Count("gs_effect_set_float(blur_"), 0u);
}

TEST_F(RenderOrder, BlurIsNotEnteredWhereItVanishes) {
  Create(R"({"denoiseEnabled":false,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.5})");
  Update(R"({"fgAlphaBlurIntensity":0.0000001})");
  ASSERT_EQ(Settings().fg_alpha_blur_intensity, 0.0000001f);
  NextFrame();
  EXPECT_THAT(BlurPasses(Passes()), IsEmpty());
  // Just above the first limit the blur is entered and finds nothing to do: half of it lies below.
  Update(R"({"fgAlphaBlurIntensity":0.5})");
  Update(R"({"fgAlphaBlurIntensity":0.0000015})");
  NextFrame();
  EXPECT_THAT(BlurPasses(Passes()), IsEmpty());
  EXPECT_EQ(LastValue("alpha_adjust_flag"), "0");
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(RenderOrder, BlurSwitchedOffIsNotEntered) {
  Create(R"({"fgAlphaBlurEnabled":false,"fgAlphaBlurIntensity":1})");
  NextFrame();
  EXPECT_THAT(BlurPasses(Passes()), IsEmpty());
}

// ---- Cache and key table ----

TEST_F(RenderOrder, ANewTickRunsThePassesAgainWithoutTheTable) {
  Create();
  NextFrame();
  NextFrame();
  EXPECT_THAT(PassNames(), ElementsAre("LutApply", "Denoise", "SpillSuppression"));
}

TEST_F(RenderOrder, ANewSizeInTheSameTickRunsThePassesAgain) {
  Create();
  NextFrame();
  target_.height = 96;
  ClearNotes();
  Render();
  EXPECT_THAT(PassNames(), ElementsAre("LutApply", "Denoise", "SpillSuppression"));
}

TEST_F(RenderOrder, ACacheWithoutItsTextureIsLoggedAndMadeAgain) {
  Create();
  NextFrame();
  ClearNotes();
  gs_recorder::FailCall(8);  // see EveryCallOfASecondRenderInTheTick
  Render();
  EXPECT_THAT(Errors(), ElementsAre("cache expected but output texture missing, rerun pipeline"));
  EXPECT_THAT(PassNames(), ElementsAre("LutApply", "Denoise", "SpillSuppression"));
  EXPECT_TRUE(DrawnKeyed());
}

TEST_F(RenderOrder, ALostTableTextureRebuildsTheTableWithoutAWord) {
  Create();
  NextFrame();
  NextFrame();
  const Strings calls = gs_recorder::Calls();
  const auto first = std::find(calls.begin(), calls.end(), "gs_texrender_get_texture(" + kKeyLutTarget + ")");
  gs_recorder::FailCall(static_cast<size_t>(first - calls.begin()) + 1);
  ClearNotes();
  Tick();
  Render();
  EXPECT_THAT(PassNames(), ElementsAre("KeyLut", "LutApply", "Denoise", "SpillSuppression"));
  EXPECT_THAT(Errors(), IsEmpty());
  EXPECT_TRUE(DrawnKeyed());
}

TEST_F(RenderOrder, ATableThatCannotBeBuiltIsTriedOnEveryFrame) {
  Create();
  gs_recorder::FailAll("gs_texrender_begin(" + kKeyLutTarget + ",");
  for (int frame = 0; frame < 3; ++frame) {
    NextFrame();
    EXPECT_THAT(Errors(),
                ElementsAre("begin key lut pass failed (2560x2560)", "ensure_key_lut failed, fallback passthrough"));
    EXPECT_TRUE(PassedThrough());
  }
  gs_recorder::AllowAll();
  NextFrame();
  EXPECT_TRUE(DrawnKeyed());
}

TEST_F(RenderOrder, TheTableKeepsItsSizeWhenTheFrameChangesIts) {
  Create();
  NextFrame();
  target_.width = 1280;
  NextFrame();
  EXPECT_EQ(gs_recorder::Count("gs_texrender_begin(" + kKeyLutTarget + ","), 0u);
}

}  // namespace
}  // namespace vanta_test
