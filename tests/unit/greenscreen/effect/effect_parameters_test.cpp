#include "greenscreen/effect/effect_parameters.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EffectParameters : public GreenScreenPassFixture {};

TEST_F(EffectParameters, EachSetterHandsItsValueOn) {
  const vanta::EffectParameters &params = effect_.params();
  vanta::SetTexture(params.image, &source_);
  vanta::SetInt(params.blue_bg_flag, 1);
  vanta::SetFloat(params.alpha_up, 0.25f);
  vanta::SetVec2(params.angle_info, 1, 2);
  vanta::SetVec3(params.spill_sup_scale_rgb, 1, 2, 3);
  vanta::SetVec4(params.key_info, 1, 2, 3, 4);
  EXPECT_THAT(
      gs_recorder::Calls(),
      ElementsAre("gs_effect_set_texture(image, source)", "gs_effect_set_int(blue_bg_flag, 1)",
                  "gs_effect_set_float(alpha_up, 0.25)", "gs_effect_set_vec2(angle_info, 1, 2)",
                  "gs_effect_set_vec3(spill_sup_scale_rgb, 1, 2, 3)", "gs_effect_set_vec4(key_info, 1, 2, 3, 4)"));
}

TEST_F(EffectParameters, SettersPassOverWhatTheEffectLacks) {
  vanta::SetTexture(nullptr, &source_);
  vanta::SetInt(nullptr, 1);
  vanta::SetFloat(nullptr, 1);
  vanta::SetVec2(nullptr, 1, 2);
  vanta::SetVec3(nullptr, 1, 2, 3);
  vanta::SetVec4(nullptr, 1, 2, 3, 4);
  EXPECT_THAT(gs_recorder::Calls(), IsEmpty());
}

}  // namespace
}  // namespace vanta_test
