#include "greenscreen/green_screen_renderer.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;

class GreenScreenRenderer : public GreenScreenFixture {};

TEST_F(GreenScreenRenderer, InitialisedAgainBuildsItsTableAndItsStateAnew) {
  Create();
  NextFrame();
  ASSERT_TRUE(data().renderer.Initialise("lx_green_screen_filter.effect"));
  NextFrame();
  EXPECT_EQ(gs_recorder::Count("gs_effect_loop(effect2, KeyLut)"), 2u) << "once drawn, once through";
  EXPECT_EQ(LastValue("denoise_init_flag"), "1");
}

TEST_F(GreenScreenRenderer, TornDownTwiceLeavesNothing) {
  Create();
  NextFrame();
  data().renderer.Teardown();
  data().renderer.Teardown();
  EXPECT_EQ(gs_recorder::ObjectsAlive(), 0u);
}

TEST_F(GreenScreenRenderer, TornDownSkipsTheFilterWithoutAWordOfItsOwn) {
  Create();
  data().renderer.Teardown();
  NextFrame();
  EXPECT_TRUE(Skipped());
  EXPECT_THAT(Errors(), ElementsAre("[LX_green_screen_filter] renderer render returned false"));
}

TEST_F(GreenScreenRenderer, AChangeDuringARenderIsNotHiddenByItsCache) {
  Create();
  Tick();
  log_.OnLine(kShader + "denoise begin failed", [this] { Update(R"({"alphaUp":0.5})"); });
  gs_recorder::FailAll("gs_texrender_begin(" + kNextTarget + ",");
  Render();
  log_.OnLine(kShader + "denoise begin failed", nullptr);
  gs_recorder::AllowAll();
  ClearNotes();
  Render();
  EXPECT_THAT(PassNames(), ElementsAre("LutApply", "Denoise", "SpillSuppression"));
}

}  // namespace
}  // namespace vanta_test
