#include "greenscreen/passes/key_lut_pass.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class KeyLutPass : public GreenScreenPassFixture {
 protected:
  KeyLutPass() { EXPECT_TRUE(pass_.Create()); }
  ~KeyLutPass() override { pass_.Destroy(); }

  vanta::KeyLutPass pass_;
  vanta::SettingsSnapshot settings_;
};

TEST_F(KeyLutPass, DrawsTheTableOnceForAKey) {
  EXPECT_TRUE(pass_.Ensure(effect_, settings_));
  settings_.revision = 5;
  EXPECT_TRUE(pass_.Ensure(effect_, settings_));
  EXPECT_THAT(Passes(), ElementsAre("KeyLut texrender1 2560x2560"));
  EXPECT_TRUE(pass_.IsCurrent(0));
}

TEST_F(KeyLutPass, DrawsItAgainForAnotherKey) {
  EXPECT_TRUE(pass_.Ensure(effect_, settings_));
  settings_.key_revision = 1;
  EXPECT_FALSE(pass_.IsCurrent(1));
  EXPECT_TRUE(pass_.Ensure(effect_, settings_));
  EXPECT_EQ(Passes().size(), 2u);
}

TEST_F(KeyLutPass, DrawsALostTableAgain) {
  EXPECT_TRUE(pass_.Ensure(effect_, settings_));
  gs_recorder::FailCall(1);  // the question for its texture
  EXPECT_TRUE(pass_.Ensure(effect_, settings_));
  EXPECT_EQ(Passes().size(), 2u);
}

TEST_F(KeyLutPass, TriesAgainAfterAFailure) {
  gs_recorder::FailAll("gs_texrender_begin");
  EXPECT_FALSE(pass_.Ensure(effect_, settings_));
  EXPECT_FALSE(pass_.IsCurrent(0));
  EXPECT_THAT(Errors(), ElementsAre("begin key lut pass failed (2560x2560)"));
  gs_recorder::AllowAll();
  EXPECT_TRUE(pass_.Ensure(effect_, settings_));
}

TEST_F(KeyLutPass, FailsWithoutAWordWhereThereIsNoEffect) {
  effect_.Unload();
  EXPECT_FALSE(pass_.Ensure(effect_, settings_));
  EXPECT_THAT(Errors(), IsEmpty());
}

}  // namespace
}  // namespace vanta_test
