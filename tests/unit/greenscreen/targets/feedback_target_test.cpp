#include "greenscreen/targets/feedback_target.h"

#include "fixtures/module/green_screen_pass_fixture.h"
#include "greenscreen/targets/render_pass.h"

namespace vanta_test {
namespace {

class FeedbackTarget : public GreenScreenPassFixture {
 protected:
  FeedbackTarget() { EXPECT_TRUE(target_.Create()); }
  ~FeedbackTarget() override { target_.Destroy(); }

  gs_texture_t *Draw(vanta::FrameSize size) {
    { const vanta::RenderPass pass(target_.next(), size); }
    return target_.Advance(size);
  }

  vanta::FeedbackTarget target_;
};

TEST_F(FeedbackTarget, HasNothingBeforeTheFirstPass) {
  EXPECT_EQ(target_.Previous(kSize), nullptr);
}

TEST_F(FeedbackTarget, GivesTheLastResultToTheNextPass) {
  gs_texture_t *const first = Draw(kSize);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(target_.Previous(kSize), first);
  gs_texture_t *const second = Draw(kSize);
  EXPECT_NE(second, first);
  EXPECT_EQ(target_.Previous(kSize), second);
}

TEST_F(FeedbackTarget, BeginsAnewOnceAfterAChangeOfSize) {
  const vanta::FrameSize other{32, 48};
  Draw(kSize);
  EXPECT_EQ(target_.Previous(other), nullptr);
  Draw(other);
  EXPECT_NE(target_.Previous(other), nullptr);
  EXPECT_EQ(target_.Previous(kSize), nullptr);
}

TEST_F(FeedbackTarget, KeepsItsStateWhereAPassWasNotDrawn) {
  gs_texture_t *const first = Draw(kSize);
  gs_recorder::FailAll("gs_texrender_begin");
  EXPECT_FALSE(vanta::RenderPass(target_.next(), kSize));
  EXPECT_EQ(target_.Previous(kSize), first);
}

TEST_F(FeedbackTarget, KeepsNothingWhereAResultHasNoTexture) {
  Draw(kSize);
  gs_recorder::FailAll("gs_texrender_get_texture");
  EXPECT_EQ(Draw(kSize), nullptr);
  gs_recorder::AllowAll();
  EXPECT_EQ(target_.Previous(kSize), nullptr);
}

TEST_F(FeedbackTarget, ForgetsWhenTold) {
  Draw(kSize);
  target_.Forget();
  EXPECT_EQ(target_.Previous(kSize), nullptr);
}

TEST_F(FeedbackTarget, DoesNotExistWithOneOfItsTwoTargets) {
  for (const size_t failing : {size_t{1}, size_t{2}}) {
    vanta::FeedbackTarget half;
    gs_recorder::FailCall(failing);
    EXPECT_FALSE(half.Create());
    EXPECT_FALSE(half.exists());
  }
}

}  // namespace
}  // namespace vanta_test
