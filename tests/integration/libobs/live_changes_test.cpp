// What a host changes while frames flow: settings, filters, sizes and formats.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/process/wait.h"

namespace vanta_integration {
namespace {

using vanta_test::EngineScript;
namespace scripted_engine = vanta_test::scripted_engine;

constexpr int kLift = 20;

void LiftLuma(LX::FrameData &frame) {
  for (int32_t y = 0; y < frame.height; ++y) {
    uint8_t *row = frame.planes[0] + static_cast<ptrdiff_t>(y) * frame.strides[0];
    for (int32_t x = 0; x < frame.width; ++x) row[x] = static_cast<uint8_t>(row[x] + kLift);
  }
}

void SetOrientation(obs_source_t *filter, bool hor_flip, int rot_deg) {
  const OBSDataAutoRelease settings = obs_data_create();
  const OBSDataAutoRelease orientation = obs_data_create();
  obs_data_set_bool(orientation, "hor_flip", hor_flip);
  obs_data_set_bool(orientation, "ver_flip", false);
  obs_data_set_int(orientation, "rot_deg", rot_deg);
  obs_data_set_obj(settings, "sceneitem_orientation_info", orientation);
  obs_data_set_bool(settings, "no_green_matting", hor_flip);
  obs_source_update(filter, settings);
}

TEST(LiveChanges, SettingsFromAnotherThreadReachTheEngineWhileFramesFlow) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  chain.before.KeepCopies(false);
  chain.behind.KeepCopies(false);
  FeedUntilKept(source, chain);
  std::atomic<int> taken{0};
  const OBSSignal update(
      obs_source_get_signal_handler(chain.Filter()), "update",
      [](void *count, calldata_t *) { ++*static_cast<std::atomic<int> *>(count); }, &taken);
  std::atomic<bool> stop{false};
  std::thread other([&] {
    for (int step = 0; !stop; ++step) {
      SetOrientation(chain.Filter(), step % 2 == 0, step % 4 * 90);
      // libobs hands the filter its own settings object, on the graphics thread: a host that changes it meanwhile would
      // race with libobs itself.
      vanta_test::WaitUntil([&] { return taken > step; }, "the update to be taken");
    }
  });
  EXPECT_TRUE(FeedUntil(
      source, chain, [&] { return taken > 50; }, "fifty updates"));
  stop = true;
  other.join();
  SetOrientation(chain.Filter(), true, 270);
  EXPECT_TRUE(FeedUntil(
      source, chain,
      [] { return scripted_engine::Count("processFrameData(64x48, format 4, rotation 270, flip 1)") > 0; },
      "a frame under the last settings"));
}

TEST(LiveChanges, AFilterCanComeAndGoWhileFramesFlow) {
  const ObsSession session({.held_clock = true});
  FedSource source;
  source.Show();
  for (int round = 0; round < 10; ++round) {
    BeautyChain chain(source.Get());
    FeedUntilKept(source, chain);
    for (int frame = 0; frame < 2; ++frame) FeedThrough(source, chain, MakeFrame(60));
    chain.RemoveFilter();
    const size_t passed = chain.behind.Count();
    FeedThrough(source, chain, MakeFrame(60));
    EXPECT_EQ(chain.behind.Count(), passed + 1) << "round " << round;
  }
  obs_wait_for_destroy_queue();
  EXPECT_EQ(scripted_engine::Alive(), 0);
}

// Feeds the source from a thread of its own until it is stopped.
class Feeder {
 public:
  explicit Feeder(FedSource &source)
      : thread_([this, &source] {
          while (!stop_) {
            source.Feed(MakeFrame(60));
            WaitForTicks(1);
          }
        }) {}
  ~Feeder() {
    stop_ = true;
    thread_.join();
  }

 private:
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

TEST(LiveChanges, AFilterIsRemovedInTheMiddleOfTheStream) {
  const ObsSession session;
  FedSource source;
  source.Show();
  const Feeder feeder(source);
  for (int round = 0; round < 10; ++round) {
    BeautyChain chain(source.Get());
    ASSERT_TRUE(vanta_test::WaitUntil([&] { return chain.before.Count() >= 3; }, "three frames"));
  }
  obs_wait_for_destroy_queue();
  EXPECT_EQ(scripted_engine::Alive(), 0);
}

TEST(LiveChanges, TwoFiltersOnOneSourceBothWorkOnEachFrame) {
  const ObsSession session;
  scripted_engine::Change([](EngineScript &script) { script.on_frame = LiftLuma; });
  FedSource source;
  BeautyChain first(source.Get());
  BeautyChain second(source.Get());
  const FedFrame picture = MakeFrame(60);
  ASSERT_TRUE(vanta_test::WaitUntil(
      [&] {
        FeedThrough(source, first, MakeFrame(60));
        const std::vector<FedFrame> out = second.behind.TakeFrames();
        return !out.empty() && LumaDifference(out.back(), picture) == std::pair(2 * kLift, 2 * kLift);
      },
      "a frame lifted twice"));
}

TEST(LiveChanges, FiltersOnTwoSourcesKeepTheirPicturesApart) {
  const ObsSession session({.held_clock = true});
  scripted_engine::Change([](EngineScript &script) { script.on_frame = LiftLuma; });
  FedSource left("left");
  FedSource right("right");
  BeautyChain on_left(left.Get());
  BeautyChain on_right(right.Get());
  FeedUntilKept(left, on_left);
  FeedUntilKept(right, on_right, VIDEO_FORMAT_I420, 32, 32);
  for (int frame = 0; frame < 20; ++frame) {
    FeedThrough(left, on_left, MakeFrame(60));
    FeedThrough(right, on_right, MakeFrame(120, VIDEO_FORMAT_I420, 32, 32));
  }
  ASSERT_TRUE(FeedUntil(
      left, on_left, [&] { return on_left.behind.Last().Luma(0, 0) == 60 + kLift; }, "left"));
  ASSERT_TRUE(vanta_test::WaitUntil(
      [&] {
        FeedThrough(right, on_right, MakeFrame(120, VIDEO_FORMAT_I420, 32, 32));
        return on_right.behind.Last().Luma(0, 0) >= 120 + kLift - 1;
      },
      "right"));
  EXPECT_EQ(on_left.behind.Last().Width(), 64u);
  EXPECT_EQ(on_right.behind.Last().Width(), 32u);
}

TEST(LiveChanges, ASizeThatChangesWithEachFrameSettlesOnceItStays) {
  const ObsSession session({.held_clock = true});
  scripted_engine::Change([](EngineScript &script) { script.on_frame = LiftLuma; });
  FedSource source;
  BeautyChain chain(source.Get());
  source.Show();
  FeedUntilKept(source, chain);
  for (uint32_t step = 0; step < 40; ++step)
    FeedThrough(source, chain, MakeFrame(60, VIDEO_FORMAT_NV12, 32 + 2 * (step % 9), 24 + 2 * (step % 7)));
  chain.behind.TakeFrames();
  const FedFrame picture = MakeFrame(60);
  EXPECT_TRUE(vanta_test::WaitUntil(
      [&] {
        FeedThrough(source, chain, MakeFrame(60));
        const std::vector<FedFrame> out = chain.behind.TakeFrames();
        return !out.empty() && LumaDifference(out.back(), picture) == std::pair(kLift, kLift);
      },
      "processed frames of the size that stays"));
}

TEST(LiveChanges, AFormatThatChangesWithEachFrameComesOutInTheFormatOfTheCall) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  chain.GoInStep();
  FeedUntilKept(source, chain);
  constexpr video_format kFormats[] = {VIDEO_FORMAT_I420, VIDEO_FORMAT_BGRA, VIDEO_FORMAT_NV12,
                                       VIDEO_FORMAT_YUY2, VIDEO_FORMAT_I422, VIDEO_FORMAT_UYVY};
  for (int turn = 0; turn < 3; ++turn) {
    for (const video_format format : kFormats) {
      const size_t passed = chain.behind.Count();
      FeedThrough(source, chain, MakeFrame(60, format));
      ASSERT_EQ(chain.behind.Count(), passed + 1);
      EXPECT_EQ(chain.behind.Last().Format(), format);
    }
  }
}

// Sizes at the edge of what the formats can carry.
class EdgeSizes : public testing::TestWithParam<video_format> {};

TEST_P(EdgeSizes, AreCarriedOrKeptBackWithoutHarm) {
  const ObsSession session({.held_clock = true});
  FedSource source;
  BeautyChain chain(source.Get());
  source.Show();
  FeedUntilKept(source, chain, GetParam(), 2, 2);
  for (const auto &[width, height] : {std::pair{1u, 1u},
                                      {1u, 2u},
                                      {2u, 1u},
                                      {3u, 3u},
                                      {5u, 7u},
                                      {33u, 1u},
                                      {65u, 49u},
                                      {2u, 2u},
                                      {63u, 48u},
                                      {64u, 47u}}) {
    for (int frame = 0; frame < 4; ++frame) FeedThrough(source, chain, MakeFrame(60, GetParam(), width, height));
  }
  EXPECT_TRUE(vanta_test::WaitUntil(
      [&] {
        chain.behind.TakeFrames();
        FeedThrough(source, chain, MakeFrame(60, GetParam(), 64, 48));
        const std::vector<FedFrame> out = chain.behind.TakeFrames();
        return !out.empty() && out.back().Width() == 64;
      },
      "frames of an ordinary size again"));
}

INSTANTIATE_TEST_SUITE_P(Formats, EdgeSizes,
                         testing::Values(VIDEO_FORMAT_NV12, VIDEO_FORMAT_I420, VIDEO_FORMAT_I422, VIDEO_FORMAT_YUY2,
                                         VIDEO_FORMAT_BGRA),
                         [](const auto &format) { return get_video_format_name(format.param); });

TEST(LiveChanges, AFrameOfOnePixelNeverReachesTheEngine) {
  const ObsSession session;
  FedSource source;
  BeautyChain chain(source.Get());
  FeedUntilKept(source, chain, VIDEO_FORMAT_NV12, 1, 1);
  for (int frame = 0; frame < 10; ++frame) FeedThrough(source, chain, MakeFrame(60, VIDEO_FORMAT_NV12, 1, 1));
  EXPECT_EQ(scripted_engine::Created(), 0);
  EXPECT_EQ(scripted_engine::FramesProcessed(), 0u);
}

TEST(LiveChanges, AFrameOfTwoByTwoPixelsIsProcessed) {
  const ObsSession session;
  scripted_engine::Change([](EngineScript &script) { script.on_frame = LiftLuma; });
  FedSource source;
  BeautyChain chain(source.Get());
  chain.GoInStep();
  FeedUntilKept(source, chain, VIDEO_FORMAT_NV12, 2, 2);
  FeedThrough(source, chain, MakeFrame(60, VIDEO_FORMAT_NV12, 2, 2));
  EXPECT_EQ(chain.behind.Last().Luma(1, 1), 60 + 1 + kLift);
}

}  // namespace
}  // namespace vanta_integration
