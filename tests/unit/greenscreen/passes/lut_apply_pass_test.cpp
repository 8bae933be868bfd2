#include "greenscreen/passes/lut_apply_pass.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;

class LutApplyPass : public GreenScreenPassFixture {
 protected:
  LutApplyPass() { EXPECT_TRUE(pass_.Create()); }
  ~LutApplyPass() override { pass_.Destroy(); }

  vanta::LutApplyPass pass_;
};

TEST_F(LutApplyPass, DrawsTheRawKeyFromTheFrameAndTheTable) {
  EXPECT_NE(pass_.Run(effect_, &source_, &key_, kSize), nullptr);
  EXPECT_THAT(Passes(), ElementsAre("LutApply texrender1 64x48"));
  EXPECT_THAT(Values("image"), ElementsAre("source"));
  EXPECT_THAT(Values("uv_lut"), ElementsAre("key"));
}

TEST_F(LutApplyPass, ThatCannotBeginGivesNothing) {
  gs_recorder::FailAll("gs_texrender_begin");
  EXPECT_EQ(pass_.Run(effect_, &source_, &key_, kSize), nullptr);
  EXPECT_THAT(Errors(), ElementsAre("begin uvka pass failed (64x48)"));
}

}  // namespace
}  // namespace vanta_test
