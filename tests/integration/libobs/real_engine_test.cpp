// The open engine behind the module: its work is seen in the frames, and its absence is not.
#include <gtest/gtest.h>

#include <functional>
#include <vector>

#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/media_clip.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/wait.h"
#include "lumivex/lumivex_control.h"
#include "lumivex/lumivex_values.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

// Feeds the same picture until what comes out of the filter fits.
bool FeedUntilOutput(FedSource &source, BeautyChain &chain, const FedFrame &picture,
                     const std::function<bool(const FedFrame &)> &fits, const char *what) {
  return vanta_test::WaitUntil(
      [&] {
        chain.behind.TakeFrames();
        FeedThrough(source, chain, picture);
        const std::vector<FedFrame> out = chain.behind.TakeFrames();
        return !out.empty() && fits(out.back());
      },
      what);
}

class RealEngineFormats : public testing::TestWithParam<video_format> {};

TEST_P(RealEngineFormats, BrightnessLiftsThePicture) {
  vanta_host_set_switch(VANTA_SWITCH_CREATE_GL_CONTEXT, false);  // what the tap sees is memory
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  const FedFrame picture = MakeFrame(90, GetParam());
  session.Control().SetBeautyIntensityWithType(lumivex::kBeautyBrightness, 1.0f);
  EXPECT_TRUE(FeedUntilOutput(
      source, chain, picture,
      [&](const FedFrame &out) {
        // Commands may come before the engine exists; the host then sends them again.
        session.Control().SetBeautyIntensityWithType(lumivex::kBeautyBrightness, 1.0f);
        return LumaDifference(out, picture).first >= 10;
      },
      "a brighter picture"));
}

INSTANTIATE_TEST_SUITE_P(Formats, RealEngineFormats,
                         testing::Values(VIDEO_FORMAT_NV12, VIDEO_FORMAT_I420, VIDEO_FORMAT_I422, VIDEO_FORMAT_YUY2,
                                         VIDEO_FORMAT_BGRA),
                         [](const auto &format) { return get_video_format_name(format.param); });

TEST(RealEngine, AMediaFileIsPlayedThroughIt) {
  const MediaClip clip(VIDEO_FORMAT_I420, 30, 60, 3, 320, 180);
  ASSERT_TRUE(clip.Made());
  const ObsSession session({.stock_media = true});
  const OBSSourceAutoRelease source = clip.MakeSource(true);  // an engine may take longer to start than the clip does
  BeautyChain chain(source);
  obs_set_output_source(0, source);
  ASSERT_TRUE(vanta_test::WaitUntil(
      [&] {
        return vanta_host_get_engine_state() == VANTA_ENGINE_RUNNING && chain.behind.Count() >= 5 &&
               chain.before.Count() > chain.behind.Count();
      },
      "frames behind the filter"));
  chain.RemoveFilter();
}

TEST(RealEngine, WhereItCannotRunThePicturePassesUntouched) {
  lumivex_set_available(false);
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  const FedFrame picture = MakeFrame(90);
  ASSERT_TRUE(vanta_test::WaitUntil(
      [&] {
        FeedThrough(source, chain, picture);
        return vanta_host_get_engine_state() == VANTA_ENGINE_MISSING;
      },
      "the host to know that there is no engine"));
  chain.behind.TakeFrames();
  for (int frame = 0; frame < 10; ++frame) FeedThrough(source, chain, picture);
  const std::vector<FedFrame> out = chain.behind.TakeFrames();
  ASSERT_EQ(out.size(), 10u);
  for (const FedFrame &frame : out) EXPECT_EQ(LargestDifference(frame, picture), 0);
  lumivex_set_available(true);
}

TEST(RealEngine, ThatGoesAwayInTheMiddleLeavesThePlainPicture) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  ASSERT_TRUE(FeedUntilOutput(
      source, chain, MakeFrame(90),
      [](const FedFrame &) { return vanta_host_get_engine_state() == VANTA_ENGINE_RUNNING; }, "a running engine"));
  lumivex_set_available(false);
  const FedFrame larger = MakeFrame(90, VIDEO_FORMAT_NV12, 96, 64);
  EXPECT_TRUE(FeedUntilOutput(
      source, chain, larger, [&](const FedFrame &out) { return LargestDifference(out, larger) == 0; },
      "the plain picture"));
  lumivex_set_available(true);
}

}  // namespace
}  // namespace vanta_integration
