// The path of a frame through the module on whole libobs: a media file in, processed pictures out.
#include <gtest/gtest.h>

#include <string>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/media_clip.h"
#include "fixtures/libobs/obs_session.h"

namespace vanta_integration {
namespace {

namespace scripted_engine = vanta_test::scripted_engine;

constexpr int kLift = 40;  // luma steps that the scripted engine adds

void LiftLuma(LX::FrameData &frame) {
  for (int32_t y = 0; y < frame.height; ++y) {
    uint8_t *row = frame.planes[0] + static_cast<ptrdiff_t>(y) * frame.strides[0];
    for (int32_t x = 0; x < frame.width; ++x) row[x] = static_cast<uint8_t>(row[x] + kLift);
  }
}

struct Tolerance {
  int least_lift;
  int greatest_lift;
  int chroma;
};

// Plays a clip of the format. Each frame must come out one call later with the engine's work on it, under the clock of
// the call that gives it out.
void ExpectFramesOneCallLater(video_format format, Tolerance tolerance) {
  const MediaClip clip(format, 24, 40, 3);
  ASSERT_TRUE(clip.Made());
  const ObsSession session({.stock_media = true, .held_clock = true});
  scripted_engine::Change([](vanta_test::EngineScript &script) { script.on_frame = LiftLuma; });
  const OBSSourceAutoRelease source = clip.MakeSource(true);  // on that clock it is soon over
  BeautyChain chain(source);
  chain.GoInStep();
  obs_set_output_source(0, source);
  ASSERT_TRUE(WaitInStep([&] { return chain.behind.Count() >= chain.FirstKept() + 8; }, "eight frames"));
  chain.RemoveFilter();

  const std::vector<FedFrame> in = chain.before.TakeFrames();
  const std::vector<FedFrame> out = chain.behind.TakeFrames();
  const size_t untouched = chain.FirstKept();
  for (size_t index = untouched; index < untouched + 8; ++index) {
    SCOPED_TRACE("frame " + std::to_string(index));
    const FedFrame &given = out[index];
    const FedFrame &source_picture = in[index];
    EXPECT_EQ(source_picture.Format(), format);
    EXPECT_EQ(given.Format(), format);
    EXPECT_EQ(given.Timestamp(), in[index + 1].Timestamp());
    const auto [least, greatest] = LumaDifference(given, source_picture);
    EXPECT_GE(least, tolerance.least_lift);
    EXPECT_LE(greatest, tolerance.greatest_lift);
    EXPECT_LE(LargestChromaDifference(given, source_picture), tolerance.chroma);
  }
}

TEST(FramePath, AnNv12FileComesOutOneCallLaterWithTheEnginesWork) {
  ExpectFramesOneCallLater(VIDEO_FORMAT_NV12, {kLift, kLift, 0});
}

TEST(FramePath, AnI420FileComesOutOneCallLaterWithTheEnginesWork) {
  ExpectFramesOneCallLater(VIDEO_FORMAT_I420, {kLift - 1, kLift + 1, 1});
}

TEST(FramePath, AnI422FileComesOutOneCallLaterWithTheEnginesWork) {
  ExpectFramesOneCallLater(VIDEO_FORMAT_I422, {kLift - 1, kLift + 1, 1});
}

TEST(FramePath, AYuy2FileComesOutOneCallLaterWithTheEnginesWork) {
  ExpectFramesOneCallLater(VIDEO_FORMAT_YUY2, {kLift - 1, kLift + 1, 1});
}

// A grey step of an RGB frame is a luma step of the same size at full range, and less than one at partial range.
TEST(FramePath, ABgraFileComesOutOneCallLaterWithTheEnginesWork) {
  ExpectFramesOneCallLater(VIDEO_FORMAT_BGRA, {kLift - 2, kLift * 255 / 219 + 3, 0});
}

}  // namespace
}  // namespace vanta_integration
