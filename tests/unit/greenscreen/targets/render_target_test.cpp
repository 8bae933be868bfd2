#include "greenscreen/targets/render_target.h"

#include "fixtures/module/green_screen_pass_fixture.h"
#include "greenscreen/targets/render_pass.h"

namespace vanta_test {
namespace {

class RenderTarget : public GreenScreenPassFixture {};

TEST_F(RenderTarget, HasATextureOnceAPassHasDrawnIntoIt) {
  vanta::RenderTarget target;
  ASSERT_TRUE(target.Create());
  EXPECT_EQ(target.Texture(), nullptr);
  { const vanta::RenderPass pass(target, kSize); }
  EXPECT_NE(target.Texture(), nullptr);
}

TEST_F(RenderTarget, DoesNotExistWhereLibobsCannotMakeIt) {
  gs_recorder::FailAll("gs_texrender_create");
  vanta::RenderTarget target;
  EXPECT_FALSE(target.Create());
  EXPECT_FALSE(target.exists());
}

TEST_F(RenderTarget, IsDestroyedOnce) {
  vanta::RenderTarget target;
  ASSERT_TRUE(target.Create());
  target.Destroy();
  target.Destroy();
  EXPECT_FALSE(target.exists());
  EXPECT_EQ(gs_recorder::Count("gs_texrender_destroy"), 1u);
}

TEST_F(RenderTarget, MadeAnewLeavesNothingOfTheFormerOne) {
  vanta::RenderTarget target;
  ASSERT_TRUE(target.Create());
  ASSERT_TRUE(target.Create());
  EXPECT_EQ(gs_recorder::Count("gs_texrender_destroy"), 1u);
}

TEST_F(RenderTarget, LeftStandingIsDestroyedInsideGraphics) {
  {
    vanta::RenderTarget target;
    ASSERT_TRUE(target.Create());
    gs_recorder::Clear();
  }
  EXPECT_EQ(gs_recorder::Calls(), (std::vector<std::string>{"obs_enter_graphics()", "gs_texrender_destroy(texrender1)",
                                                            "obs_leave_graphics()"}));
}

TEST_F(RenderTarget, SwapsWhatItHoldsWithAnother) {
  vanta::RenderTarget one, other;
  ASSERT_TRUE(one.Create());
  gs_texrender_t *const handle = one.handle();
  one.Swap(other);
  EXPECT_FALSE(one.exists());
  EXPECT_EQ(other.handle(), handle);
}

}  // namespace
}  // namespace vanta_test
