#include "greenscreen/passes/alpha_blur_pass.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AlphaBlurPass : public GreenScreenPassFixture {
 protected:
  AlphaBlurPass() { EXPECT_TRUE(pass_.Create() && step_.Create()); }
  ~AlphaBlurPass() override {
    pass_.Destroy();
    step_.Destroy();
  }

  vanta::AlphaBlurPass pass_;
  vanta::RenderTarget step_;
};

TEST_F(AlphaBlurPass, GoesDownAndUpAndDrawsItsResultIntoTheGivenTarget) {
  gs_texture_t *const out = pass_.Run(effect_, &key_, kSize, 0.5f, step_);
  EXPECT_EQ(out, step_.Texture());
  EXPECT_THAT(Passes(), ElementsAre("BlurDown texrender1 32x24", "BlurDown texrender2 16x12", "BlurUp texrender1 32x24",
                                    "BlurUp texrender4 64x48", "BlurStep texrender5 64x48"));
}

TEST_F(AlphaBlurPass, OfNoIntensityGivesTheKeyItself) {
  EXPECT_EQ(pass_.Run(effect_, &key_, kSize, 0.0f, step_), &key_);
  EXPECT_THAT(Passes(), IsEmpty());
}

TEST_F(AlphaBlurPass, NamesItsFailureWithoutAKey) {
  EXPECT_EQ(pass_.Run(effect_, nullptr, kSize, 1.0f, step_), nullptr);
  EXPECT_THAT(Errors(), ElementsAre("fg alpha blur missing texture/effect param"));
}

TEST_F(AlphaBlurPass, NamesTheLevelThatCannotBegin) {
  gs_recorder::FailAll("gs_texrender_begin(texrender2");
  EXPECT_EQ(pass_.Run(effect_, &key_, kSize, 1.0f, step_), nullptr);
  EXPECT_THAT(Errors(), ElementsAre("blur down begin failed at level 1"));
}

}  // namespace
}  // namespace vanta_test
