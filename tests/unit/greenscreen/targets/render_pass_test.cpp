#include "greenscreen/targets/render_pass.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RenderPass : public GreenScreenPassFixture {
 protected:
  RenderPass() {
    EXPECT_TRUE(target_.Create());
    gs_recorder::Clear();
  }
  ~RenderPass() override { target_.Destroy(); }

  vanta::RenderTarget target_;
};

TEST_F(RenderPass, ClearsTheWholeTargetAndTurnsBlendingOff) {
  const vanta::RenderPass pass(target_, kSize);
  EXPECT_TRUE(pass);
  EXPECT_THAT(
      gs_recorder::Calls(),
      ElementsAre("gs_texrender_reset(texrender1)", "gs_texrender_begin(texrender1, 64, 48)", "gs_blend_state_push()",
                  "gs_enable_blending(0)", "gs_clear(GS_CLEAR_COLOR, (0, 0, 0, 0), 0, 0)",
                  "gs_set_cull_mode(GS_NEITHER)", "gs_set_viewport(0, 0, 64, 48)", "gs_ortho(0, 1, 0, 1, -100, 100)"));
}

TEST_F(RenderPass, EndsWithItsScope) {
  {
    const vanta::RenderPass pass(target_, kSize);
    gs_recorder::Clear();
  }
  EXPECT_THAT(gs_recorder::Calls(), ElementsAre("gs_texrender_end(texrender1)", "gs_blend_state_pop()"));
}

TEST_F(RenderPass, WithoutATargetOrASizeTouchesNothing) {
  const vanta::RenderTarget none;
  EXPECT_FALSE(vanta::RenderPass(none, kSize));
  EXPECT_FALSE(vanta::RenderPass(target_, {0, 48}));
  EXPECT_FALSE(vanta::RenderPass(target_, {64, 0}));
  EXPECT_THAT(gs_recorder::Calls(), IsEmpty());
}

TEST_F(RenderPass, ThatCannotBeginLeavesNoStatePushed) {
  gs_recorder::FailAll("gs_texrender_begin");
  EXPECT_FALSE(vanta::RenderPass(target_, kSize));
  EXPECT_EQ(gs_recorder::OpenBrackets(), 0);
  EXPECT_EQ(gs_recorder::Count("gs_texrender_end"), 0u);
}

}  // namespace
}  // namespace vanta_test
