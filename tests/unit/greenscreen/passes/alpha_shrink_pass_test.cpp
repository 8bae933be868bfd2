#include "greenscreen/passes/alpha_shrink_pass.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class AlphaShrinkPass : public GreenScreenPassFixture {
 protected:
  AlphaShrinkPass() { EXPECT_TRUE(pass_.Create()); }
  ~AlphaShrinkPass() override { pass_.Destroy(); }

  vanta::AlphaShrinkPass pass_;
};

TEST_F(AlphaShrinkPass, DrawsOneAxisAfterTheOther) {
  EXPECT_NE(pass_.Run(effect_, &key_, kSize, 2.0f), nullptr);
  EXPECT_THAT(Passes(), ElementsAre("AlphaShrink texrender1 64x48", "AlphaShrink texrender2 64x48"));
  EXPECT_THAT(Values("image"), ElementsAre("key", "texrender1.texture"));
  EXPECT_THAT(Values("alpha_shrink_offset"), ElementsAre("0.03125, 0", "0, 0.0416667"));
}

TEST_F(AlphaShrinkPass, ByNothingOrLessGivesTheKeyItself) {
  EXPECT_EQ(pass_.Run(effect_, &key_, kSize, 0.000001f), &key_);
  EXPECT_EQ(pass_.Run(effect_, &key_, kSize, -1.0f), &key_);
  EXPECT_THAT(Passes(), IsEmpty());
}

TEST_F(AlphaShrinkPass, LeavesTheFirstAxissTargetSpent) {
  pass_.Run(effect_, &key_, kSize, 2.0f);
  EXPECT_EQ(gs_recorder::NameOf(pass_.spent_target().handle()), "texrender1");
}

TEST_F(AlphaShrinkPass, NamesItsFailureWithoutAKey) {
  EXPECT_EQ(pass_.Run(effect_, nullptr, kSize, 2.0f), nullptr);
  EXPECT_THAT(Errors(), ElementsAre("alpha shrink missing texture/effect param"));
}

}  // namespace
}  // namespace vanta_test
