// A deinterlaced source, for which the filter gives out a frame of its own when the engine has none.
#include <gtest/gtest.h>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/log_capture.h"
#include "fixtures/process/wait.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

constexpr char kReport[] = R"({"fall_back_to_nv12":true,"reason":"deinterlace"})";

// Feeds pictures, one a round, until so many more have entered the filter: libobs takes frames of a deinterlaced source
// in pairs, so a frame fed is not yet a frame filtered.
bool FeedUntilEntered(FedSource &source, BeautyChain &chain, size_t more, video_format format = VIDEO_FORMAT_NV12,
                      uint32_t width = 64, uint32_t height = 48) {
  const size_t until = chain.before.Count() + more;
  return vanta_test::WaitUntil(
      [&] {
        source.Feed(MakeFrame(60, format, width, height));
        WaitForTicks(1);
        return chain.before.Count() >= until;
      },
      "frames of a deinterlaced source");
}

// With deinterlacing on, libobs may still hold the filter's own frame: a host switches it off and lets a round go by.
void StopDeinterlacing(FedSource &source) {
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_DISABLE);
  WaitForTicks(2);
}

TEST(Deinterlacing, AShownSourceGetsAFrameForEveryFrame) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_LINEAR);
  source.Show();
  ASSERT_TRUE(FeedUntilEntered(source, chain, 20));
  StopDeinterlacing(source);
  EXPECT_GE(chain.behind.Count(), 20u);
}

TEST(Deinterlacing, AFrameIsGivenOutThoughTheEngineHasNone) {
  const ObsSession session;
  vanta_test::scripted_engine::Close(vanta_test::Gate::kProcess);
  FedSource source;
  BeautyChain chain(source.Get());
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_LINEAR);
  source.Show();
  const vanta_test::LogCapture log;
  ASSERT_TRUE(FeedUntilEntered(source, chain, 12));
  ASSERT_TRUE(log.WaitForText("DequeueFrame failed, return last frame"));
  // The last frame may be between the two taps.
  EXPECT_TRUE(
      vanta_test::WaitUntil([&] { return chain.behind.Count() == chain.before.Count(); }, "every frame behind"));
  StopDeinterlacing(source);
  vanta_test::scripted_engine::Open(vanta_test::Gate::kProcess);
}

TEST(Deinterlacing, ASourceThatIsNotShownIsFilteredAllTheSame) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_BLEND);
  ASSERT_TRUE(FeedUntilEntered(source, chain, 20));
  StopDeinterlacing(source);
  EXPECT_GE(chain.behind.Count(), 20u);
}

TEST(Deinterlacing, ASourceShownAndHiddenByTurnsKeepsItsFrames) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_YADIF);
  for (int turn = 0; turn < 6; ++turn) {
    turn % 2 ? source.Hide() : source.Show();
    ASSERT_TRUE(FeedUntilEntered(source, chain, 4));
  }
  StopDeinterlacing(source);
  EXPECT_GE(chain.behind.Count(), 24u);
}

TEST(Deinterlacing, IsReportedOnceForAllFiltersAndFrames) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  BeautyChain second(source.Get());
  source.Show();
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_LINEAR);
  ASSERT_TRUE(FeedUntilEntered(source, chain, 10));
  StopDeinterlacing(source);
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_RETRO);
  ASSERT_TRUE(FeedUntilEntered(source, chain, 10));
  StopDeinterlacing(source);
  EXPECT_EQ(CountReports(12, kReport), 1u);
  EXPECT_TRUE(vanta_host_get_flag(VANTA_FLAG_DEINTERLACE));
}

TEST(Deinterlacing, EveryModeCarriesFrames) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  source.Show();
  for (int mode = OBS_DEINTERLACE_MODE_DISABLE; mode <= OBS_DEINTERLACE_MODE_YADIF_2X; ++mode) {
    obs_source_set_deinterlace_mode(source.Get(), static_cast<obs_deinterlace_mode>(mode));
    const size_t passed = chain.behind.Count();
    ASSERT_TRUE(FeedUntilEntered(source, chain, 4));
    WaitForTicks(1);
    EXPECT_GT(chain.behind.Count(), passed) << "mode " << mode;
  }
  StopDeinterlacing(source);
}

struct Shape {
  video_format format;
  uint32_t width;
  uint32_t height;
};

void ExpectShape(const FedFrame &frame, const Shape &shape) {
  EXPECT_EQ(frame.Format(), shape.format);
  EXPECT_EQ(frame.Width(), shape.width);
  EXPECT_EQ(frame.Height(), shape.height);
}

TEST(Deinterlacing, FramesKeepTheirShapeThroughChangesOfSizeAndFormat) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  source.Show();
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_LINEAR);
  // The same size in another format comes too: the frame that the filter keeps must not stay as it was.
  for (const Shape &shape :
       {Shape{VIDEO_FORMAT_NV12, 64, 48}, Shape{VIDEO_FORMAT_I420, 64, 48}, Shape{VIDEO_FORMAT_BGRA, 64, 48},
        Shape{VIDEO_FORMAT_BGRA, 32, 80}, Shape{VIDEO_FORMAT_YUY2, 32, 80}, Shape{VIDEO_FORMAT_NV12, 130, 2}}) {
    ASSERT_TRUE(FeedUntilEntered(source, chain, 6, shape.format, shape.width, shape.height));
    ExpectShape(chain.behind.Last(), shape);
    // Once the engine stands still, it is the kept frame that comes out.
    vanta_test::scripted_engine::Close(vanta_test::Gate::kProcess);
    ASSERT_TRUE(FeedUntilEntered(source, chain, 8, shape.format, shape.width, shape.height));
    ExpectShape(chain.behind.Last(), shape);
    vanta_test::scripted_engine::Open(vanta_test::Gate::kProcess);
  }
  StopDeinterlacing(source);
}

TEST(Deinterlacing, TheFilterCanGoOnceDeinterlacingIsOff) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_LINEAR);
  ASSERT_TRUE(FeedUntilEntered(source, chain, 6));
  StopDeinterlacing(source);
  chain.RemoveFilter();
  obs_wait_for_destroy_queue();
  const size_t passed = chain.behind.Count();
  ASSERT_TRUE(FeedUntilEntered(source, chain, 6));
  WaitForTicks(1);
  EXPECT_GE(chain.behind.Count(), passed + 6);
}

// Once the canvas has drawn the source, libobs holds none of its frames: the filter may go right then.
struct Removal {
  BeautyChain *chain;
  std::atomic<bool> done{false};
  static void AfterRender(void *param, uint32_t, uint32_t) {
    auto &removal = *static_cast<Removal *>(param);
    if (removal.done) return;
    removal.chain->RemoveFilter();
    removal.done = true;
  }
};

TEST(Deinterlacing, TheFilterOfAShownSourceCanGoBetweenTwoRounds) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  source.Show();
  obs_source_set_deinterlace_mode(source.Get(), OBS_DEINTERLACE_MODE_LINEAR);
  ASSERT_TRUE(FeedUntilEntered(source, chain, 6));
  Removal removal{.chain = &chain};
  obs_add_main_render_callback(Removal::AfterRender, &removal);
  ASSERT_TRUE(vanta_test::WaitUntil([&] { return removal.done.load(); }, "the removal"));
  obs_remove_main_render_callback(Removal::AfterRender, &removal);
  obs_wait_for_destroy_queue();
  const size_t passed = chain.behind.Count();
  ASSERT_TRUE(FeedUntilEntered(source, chain, 6));
  WaitForTicks(1);
  EXPECT_GE(chain.behind.Count(), passed + 6);
  StopDeinterlacing(source);
}

}  // namespace
}  // namespace vanta_integration
