#include "greenscreen/passes/alpha_refinement.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AlphaRefinement : public GreenScreenPassFixture {
 protected:
  AlphaRefinement() { EXPECT_TRUE(refinement_.Create()); }
  ~AlphaRefinement() override { refinement_.Destroy(); }

  gs_texture_t *Run(const char *config) {
    settings_.Update(config);
    return refinement_.Run(effect_, &key_, kSize, settings_);
  }

  vanta::AlphaRefinement refinement_;
  vanta::SettingsStore settings_;
};

TEST_F(AlphaRefinement, WithEverythingOffGivesTheRawKey) {
  EXPECT_EQ(Run(R"({"denoiseEnabled":false})"), &key_);
  EXPECT_THAT(Passes(), IsEmpty());
}

TEST_F(AlphaRefinement, FeedsEachStageFromTheOneBefore) {
  Run(R"({"alphaShrink":2,"fgAlphaBlurEnabled":true,"fgAlphaBlurIntensity":0.25})");
  EXPECT_THAT(Values("image"), ElementsAre("key", "texrender2.texture", "texrender3.texture", "texrender4.texture",
                                           "texrender5.texture", "texrender4.texture"));
}

TEST_F(AlphaRefinement, StartsOverFromTheRawKeyAfterAFailure) {
  gs_recorder::FailAll("gs_texrender_begin(texrender4");
  EXPECT_EQ(Run(R"({"alphaShrink":2})"), &key_);
  EXPECT_THAT(Errors(), ElementsAre("alpha shrink pass V begin failed",
                                    "alpha shrink failed, continue with raw alpha (shrink=2.0000)"));
}

}  // namespace
}  // namespace vanta_test
