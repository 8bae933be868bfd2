#include "greenscreen/passes/spill_pass.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;

class SpillPass : public GreenScreenPassFixture {
 protected:
  SpillPass() { EXPECT_TRUE(pass_.Create()); }
  ~SpillPass() override { pass_.Destroy(); }

  vanta::SpillPass pass_;
  vanta::GreenScreenSettings settings_;
};

TEST_F(SpillPass, DrawsTheFrameWithItsKeys) {
  gs_texture refined;
  gs_texture_t *const out = pass_.Run(effect_, {&source_, &key_, &refined, kSize}, settings_);
  EXPECT_NE(out, nullptr);
  EXPECT_EQ(out, pass_.Texture());
  EXPECT_THAT(Passes(), ElementsAre("SpillSuppression texrender1 64x48"));
  EXPECT_THAT(Values("image"), ElementsAre("source"));
  EXPECT_THAT(Values("uvka_tex"), ElementsAre("key"));
  EXPECT_THAT(Values("alpha_adjust_flag"), ElementsAre("1"));
}

TEST_F(SpillPass, KnowsARawKeyFromARefinedOne) {
  pass_.Run(effect_, {&source_, &key_, &key_, kSize}, settings_);
  EXPECT_THAT(Values("alpha_adjust_flag"), ElementsAre("0"));
}

TEST_F(SpillPass, ThatCannotBeginGivesNothing) {
  gs_recorder::FailAll("gs_texrender_begin");
  EXPECT_EQ(pass_.Run(effect_, {&source_, &key_, &key_, kSize}, settings_), nullptr);
  EXPECT_THAT(Errors(), ElementsAre("begin output pass failed (64x48)"));
}

}  // namespace
}  // namespace vanta_test
