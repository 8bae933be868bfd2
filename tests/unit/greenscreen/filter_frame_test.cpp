#include "greenscreen/filter_frame.h"

#include <gmock/gmock.h>

#include "fixtures/module/green_screen_pass_fixture.h"

namespace vanta_test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FilterFrame : public GreenScreenPassFixture {
 protected:
  FilterFrame() {
    target_.name = "target";
    target_.width = 64;
    target_.height = 48;
    filter_.name = "filter";
    filter_.parent = filter_.target = &target_;
  }

  obs_source target_;
  obs_source filter_;
};

TEST_F(FilterFrame, KnowsItsSizeAndItsPictureOnceBegun) {
  vanta::FilterFrame frame(&filter_);
  EXPECT_EQ(frame.size(), vanta::FrameSize{});
  ASSERT_TRUE(frame.Begin(effect_));
  EXPECT_EQ(frame.size(), kSize);
  EXPECT_EQ(frame.SourceTexture(), &filter_.frame);
  EXPECT_TRUE(frame.PassThrough());
}

TEST_F(FilterFrame, WithoutASourceHasNothingToSkip) {
  vanta::FilterFrame frame(nullptr);
  EXPECT_FALSE(frame.Begin(effect_));
  EXPECT_THAT(gs_recorder::Calls(), IsEmpty());
}

TEST_F(FilterFrame, WithoutAnEffectIsSkippedWithoutAWord) {
  effect_.Unload();
  vanta::FilterFrame frame(&filter_);
  EXPECT_FALSE(frame.Begin(effect_));
  EXPECT_EQ(gs_recorder::Count("obs_source_skip_video_filter(filter)"), 1u);
  EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(FilterFrame, ThatLibobsDoesNotDrawIsNotSkipped) {
  gs_recorder::FailAll("obs_source_process_filter_begin");
  vanta::FilterFrame frame(&filter_);
  EXPECT_FALSE(frame.Begin(effect_));
  EXPECT_EQ(frame.size(), kSize) << "it is reported all the same";
  EXPECT_EQ(gs_recorder::Count("obs_source_skip_video_filter"), 0u);
  EXPECT_THAT(Errors(), ElementsAre("process_filter_begin failed"));
}

TEST_F(FilterFrame, IsDrawnKeyedThroughTheEffect) {
  vanta::FilterFrame frame(&filter_);
  ASSERT_TRUE(frame.Begin(effect_));
  EXPECT_TRUE(frame.DrawKeyed(effect_, &key_));
  EXPECT_THAT(Values("output_tex"), ElementsAre("key"));
  EXPECT_EQ(gs_recorder::Count("obs_source_process_filter_tech_end(filter, effect1, 0, 0, OutputDraw)"), 1u);
}

TEST_F(FilterFrame, ThatTheEffectCannotDrawCanStillPassThrough) {
  LoadWithout({"OutputDraw"});
  vanta::FilterFrame frame(&filter_);
  ASSERT_TRUE(frame.Begin(effect_));
  EXPECT_FALSE(frame.DrawKeyed(effect_, &key_));
  EXPECT_THAT(Errors(), ElementsAre("output draw unavailable (texture=1 supported=0), passthrough"));
  EXPECT_TRUE(frame.PassThrough());
}

TEST_F(FilterFrame, WhosePictureCannotBeReachedIsSkipped) {
  vanta::FilterFrame frame(&filter_);
  ASSERT_TRUE(frame.Begin(effect_));
  gs_recorder::FailAll("gs_effect_get_val");
  EXPECT_EQ(frame.SourceTexture(), nullptr);
  EXPECT_EQ(gs_recorder::Count("obs_source_skip_video_filter(filter)"), 1u);
  EXPECT_EQ(gs_recorder::OpenBrackets(), 0);
}

}  // namespace
}  // namespace vanta_test
