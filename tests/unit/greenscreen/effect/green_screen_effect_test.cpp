#include "greenscreen/effect/green_screen_effect.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

#include "fixtures/module/green_screen_fixture.h"
#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::vector<std::string> kParameters = {"image",
                                              "uv_lut",
                                              "output_tex",
                                              "uvka_tex",
                                              "alpha_adjust_tex",
                                              "prev_state_tex",
                                              "blur_tex",
                                              "angle_info",
                                              "key_info",
                                              "spill_sup_flag",
                                              "spill_sup_offset",
                                              "spill_sup_yth",
                                              "alpha_adjust_flag",
                                              "alpha_down",
                                              "alpha_up",
                                              "blue_bg_flag",
                                              "spill_sup_scale_rgb",
                                              "spill_sup_red_w",
                                              "spill_sup_mix",
                                              "alpha_shrink_offset",
                                              "denoise_q",
                                              "denoise_init_flag",
                                              "denoise_offset",
                                              "blur_offset",
                                              "blur_weight",
                                              "blur_halfpixel"};
const std::vector<std::string> kTechniques = {"KeyLut", "LutApply", "Denoise",          "AlphaShrink", "BlurDown",
                                              "BlurUp", "BlurStep", "SpillSuppression", "Passthrough", "OutputDraw"};

class EffectLoading : public GreenScreenFixture {
 protected:
  // What creating a filter says.
  std::vector<std::string> CreationErrors() {
    log_.Clear();
    instance_ = record_.create(settings_, &filter_);
    return Errors();
  }

  vanta::GreenScreenEffect effect_;
};

TEST_F(EffectLoading, NoNameIsRefused) {
  EXPECT_FALSE(effect_.Load(nullptr));
  EXPECT_FALSE(effect_.Load(""));
  EXPECT_THAT(Errors(), ElementsAre("empty effect file", "empty effect file"));
}

TEST_F(EffectLoading, AFileThatIsNotThereIsSaidToBeMissing) {
  gs_recorder::SetModuleFile("/fake/nothing.effect");
  gs_recorder::FailAll("gs_effect_create_from_file");
  EXPECT_FALSE(effect_.Load("a.effect"));
  EXPECT_THAT(Errors(), ElementsAre("load effect failed: requested=a.effect resolved=/fake/nothing.effect exists=0",
                                    "effect compile detail unavailable (empty)"));
}

TEST_F(EffectLoading, ASyntaxErrorIsPassedOn) {
  const std::string path =
      (std::filesystem::temp_directory_path() / ("vanta_broken_" + std::to_string(getpid()))).string();
  std::ofstream(path) << "technique";
  gs_recorder::SetModuleFile(path);
  gs_recorder::SetCompileError("line 1: no pass %d");
  gs_recorder::FailAll("gs_effect_create_from_file");
  EXPECT_THAT(CreationErrors(),
              ElementsAre("load effect failed: requested=lx_green_screen_filter.effect resolved=" + path + " exists=1",
                          "effect compile detail: line 1: no pass %d",
                          "[LX_green_screen_filter] create failed: renderer init error"));
  EXPECT_EQ(instance_, nullptr);
  std::filesystem::remove(path);
}

TEST_F(EffectLoading, LooksParametersThenTechniquesUpInOrder) {
  CreationErrors();
  std::vector<std::string> looked_up;
  for (const std::string &call : gs_recorder::Calls()) {
    for (const char *function : {"gs_effect_get_param_by_name(effect1, ", "gs_effect_get_technique(effect1, "}) {
      if (call.rfind(function, 0) == 0) {
        looked_up.push_back(call.substr(std::string(function).size()));
        looked_up.back().pop_back();
      }
    }
  }
  // As the record has them: the state's texture comes before the blur's.
  std::vector<std::string> expected = {"image",
                                       "uv_lut",
                                       "output_tex",
                                       "uvka_tex",
                                       "alpha_adjust_tex",
                                       "prev_state_tex",
                                       "blur_tex",
                                       "angle_info",
                                       "key_info",
                                       "spill_sup_flag",
                                       "spill_sup_offset",
                                       "spill_sup_yth",
                                       "alpha_adjust_flag",
                                       "alpha_down",
                                       "alpha_up",
                                       "blue_bg_flag",
                                       "spill_sup_scale_rgb",
                                       "spill_sup_red_w",
                                       "spill_sup_mix",
                                       "alpha_shrink_offset",
                                       "denoise_q",
                                       "denoise_init_flag",
                                       "denoise_offset",
                                       "blur_offset",
                                       "blur_weight",
                                       "blur_halfpixel"};
  expected.insert(expected.end(), kTechniques.begin(), kTechniques.end());
  looked_up.resize(std::min(looked_up.size(), expected.size()));  // what only some files have comes after these
  EXPECT_EQ(looked_up, expected);
}

TEST_F(EffectLoading, ACompleteEffectSaysNothing) {
  EXPECT_THAT(CreationErrors(), IsEmpty());
}

TEST_F(EffectLoading, AnEffectWithNothingIsLoadedAndEverythingIsNamedInOrder) {
  std::vector<std::string> all = kParameters;
  all.insert(all.end(), kTechniques.begin(), kTechniques.end());
  gs_recorder::SetEffectLacks(all);
  const auto param = [](const char *name, int required) {
    return "missing effect param: " + std::string(name) + " (required=" + std::to_string(required) + ")";
  };
  std::vector<std::string> expected = {param("image", 1),
                                       param("uv_lut", 1),
                                       param("output_tex", 0),
                                       param("uvka_tex", 1),
                                       param("alpha_adjust_tex", 0),
                                       param("blur_tex", 0),
                                       param("angle_info", 1),
                                       param("key_info", 1),
                                       param("spill_sup_flag", 1),
                                       param("spill_sup_offset", 1),
                                       param("spill_sup_yth", 1),
                                       param("alpha_adjust_flag", 1),
                                       param("alpha_down", 1),
                                       param("alpha_up", 1),
                                       param("blue_bg_flag", 1),
                                       param("spill_sup_scale_rgb", 1),
                                       param("spill_sup_red_w", 1),
                                       param("spill_sup_mix", 1),
                                       param("prev_state_tex", 0),
                                       param("denoise_q", 0),
                                       param("denoise_init_flag", 0),
                                       param("denoise_offset", 0),
                                       param("alpha_shrink_offset", 0),
                                       param("blur_offset", 0),
                                       param("blur_weight", 0),
                                       param("blur_halfpixel", 0)};
  for (const std::string &technique : kTechniques) expected.push_back("missing effect technique: " + technique);
  EXPECT_EQ(CreationErrors(), expected);
  EXPECT_NE(instance_, nullptr);
}

class LoadedEffect : public GreenScreenPassFixture {};

TEST_F(LoadedEffect, MissesAnOptionalParameterOrTechniqueWithoutAWord) {
  LoadWithout({"extra_tex", "Extra"});
  EXPECT_EQ(effect_.OptionalParameter("extra_tex"), nullptr);
  EXPECT_FALSE(effect_.HasTechnique("Extra"));
  EXPECT_THAT(log_.Lines(), IsEmpty());
}

TEST_F(LoadedEffect, FindsAnOptionalParameterThatTheFileHas) {
  EXPECT_NE(effect_.OptionalParameter("extra_tex"), nullptr);
}

TEST_F(LoadedEffect, DrawsEveryPassOfATechnique) {
  gs_recorder::SetEffectPasses(2);
  effect_.Draw("LutApply");
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite(null, 0, 1, 1)"), 2u);
}

TEST_F(LoadedEffect, DrawsNothingOfATechniqueThatIsMissing) {
  LoadWithout({"LutApply"});
  effect_.Draw("LutApply");
  EXPECT_EQ(gs_recorder::Count("gs_draw_sprite"), 0u);
}

TEST_F(LoadedEffect, IsUnloadedOnceWithItsParameters) {
  effect_.Unload();
  effect_.Unload();
  EXPECT_FALSE(effect_.loaded());
  EXPECT_EQ(effect_.params().image, nullptr);
  EXPECT_EQ(gs_recorder::Count("gs_effect_destroy"), 1u);
}

}  // namespace
}  // namespace vanta_test
