// From a finished frame into the host's frame.
#include <cstring>

#include <gtest/gtest.h>

#include "fixtures/frames/guarded_frame.h"
#include "fixtures/frames/host_frame.h"
#include "fixtures/process/log_capture.h"
#include "frames/face_beauty_frame_factory.h"

namespace vanta {
namespace {

using vanta_test::Fill;
using vanta_test::LogCapture;
using vanta_test::MakeEngineFrame;
using vanta_test::MakeHostFrame;
using vanta_test::PixelsOf;

// A finished frame: a luma ramp over neutral chroma.
PooledFrame Finished(int width, int height, int luma_pitch, int chroma_pitch) {
  PooledFrame frame;
  frame.data = MakeEngineFrame(width, height, luma_pitch, chroma_pitch);
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) frame.data->planes[0][y * luma_pitch + x] = static_cast<uint8_t>(40 + x + y);
  }
  for (int y = 0; y < (height + 1) / 2; ++y) std::memset(frame.data->planes[1] + y * chroma_pitch, 128, chroma_pitch);
  return frame;
}

void ExpectUntouched(const PooledFrame &frame, obs_source_frame *host) {
  FaceBeautyFrameFactory factory;
  const auto before = PixelsOf(*host);
  EXPECT_FALSE(factory.CopyToObsFrame(frame, host));
  EXPECT_EQ(PixelsOf(*host), before);
}

TEST(FrameFactoryOutput, Nv12GoesOverByteForByte) {
  FaceBeautyFrameFactory factory;
  const PooledFrame frame = Finished(32, 16, 32, 32);
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 32, 16);
  EXPECT_TRUE(factory.CopyToObsFrame(frame, host.get()));
  EXPECT_EQ(std::memcmp(host->data[0], frame.data->planes[0], 32 * 16), 0);
  EXPECT_EQ(std::memcmp(host->data[1], frame.data->planes[1], 32 * 8), 0);
}

TEST(FrameFactoryOutput, Nv12LeavesWiderEngineRowsBehind) {
  FaceBeautyFrameFactory factory;
  const PooledFrame frame = Finished(30, 10, 64, 48);
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 30, 10);
  EXPECT_TRUE(factory.CopyToObsFrame(frame, host.get()));
  EXPECT_EQ(host->data[0][29], 40 + 29);
  EXPECT_EQ(host->data[0][30], 40 + 1);
  EXPECT_EQ(host->data[0][9 * 30 + 29], 40 + 38);
  EXPECT_EQ(host->data[1][4 * 30 + 29], 128);
}

TEST(FrameFactoryOutput, Nv12GoesIntoWiderHostRows) {
  FaceBeautyFrameFactory factory;
  const PooledFrame frame = Finished(30, 10, 30, 30);
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 64, 10, Fill::kZero);
  host->width = 30;
  EXPECT_TRUE(factory.CopyToObsFrame(frame, host.get()));
  EXPECT_EQ(host->data[0][9 * 64 + 29], 40 + 38);
  EXPECT_EQ(host->data[0][30], 0);
  EXPECT_EQ(host->data[1][4 * 64 + 29], 128);
}

TEST(FrameFactoryOutput, BgraShowsTheLumaOfTheFrame) {
  FaceBeautyFrameFactory factory;
  const PooledFrame frame = Finished(32, 16, 32, 32);
  const auto host = MakeHostFrame(VIDEO_FORMAT_BGRA, 32, 16, Fill::kZero);
  host->full_range = true;
  EXPECT_TRUE(factory.CopyToObsFrame(frame, host.get()));
  const uint8_t *pixel = host->data[0] + 5 * host->linesize[0] + 7 * 4;
  for (int channel = 0; channel < 3; ++channel) EXPECT_NEAR(pixel[channel], 40 + 5 + 7, 2);
}

TEST(FrameFactoryOutput, FrameWithoutDataIsRefused) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 32, 16);
  ExpectUntouched(PooledFrame(), host.get());
}

TEST(FrameFactoryOutput, FrameOfAnotherSizeIsRefused) {
  const PooledFrame frame = Finished(32, 16, 32, 32);
  for (const video_format format : {VIDEO_FORMAT_NV12, VIDEO_FORMAT_BGRA}) {
    const auto smaller = MakeHostFrame(format, 30, 16);
    ExpectUntouched(frame, smaller.get());
    const auto higher = MakeHostFrame(format, 32, 18);
    ExpectUntouched(frame, higher.get());
  }
}

TEST(FrameFactoryOutput, MissingHostFrameIsRefused) {
  FaceBeautyFrameFactory factory;
  EXPECT_FALSE(factory.CopyToObsFrame(Finished(32, 16, 32, 32), nullptr));
}

TEST(FrameFactoryOutput, EngineFrameWithoutPlanesIsRefused) {
  for (const video_format format : {VIDEO_FORMAT_NV12, VIDEO_FORMAT_BGRA}) {
    for (int plane : {0, 1}) {
      const PooledFrame frame = Finished(32, 16, 32, 32);
      frame.data->planes[plane] = nullptr;
      const auto host = MakeHostFrame(format, 32, 16);
      ExpectUntouched(frame, host.get());
    }
  }
}

TEST(FrameFactoryOutput, EngineFrameWithoutPitchIsRefused) {
  for (const int pitch : {0, -32}) {
    const PooledFrame frame = Finished(32, 16, 32, 32);
    frame.data->strides[1] = pitch;
    const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 32, 16);
    ExpectUntouched(frame, host.get());
  }
}

TEST(FrameFactoryOutput, HostFrameOfAFormatWithoutAScalerIsRefused) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_AYUV, 32, 16);
  ExpectUntouched(Finished(32, 16, 32, 32), host.get());
}

TEST(FrameFactoryOutput, ScalerIsTriedAgainOnTheNextFrameAfterItCouldNotBeBuilt) {
  FaceBeautyFrameFactory factory;
  const PooledFrame frame = Finished(32, 16, 32, 32);
  const auto bad = MakeHostFrame(VIDEO_FORMAT_AYUV, 32, 16);
  const auto good = MakeHostFrame(VIDEO_FORMAT_BGRA, 32, 16);
  EXPECT_FALSE(factory.CopyToObsFrame(frame, bad.get()));
  LogCapture log;
  EXPECT_FALSE(factory.CopyToObsFrame(frame, bad.get()));
  EXPECT_EQ(log.Count("[beauty] Invalid scaler_"), 1u);
  EXPECT_TRUE(factory.CopyToObsFrame(frame, good.get()));
}

TEST(FrameFactoryOutput, Nv12NeedsNoScaler) {
  constexpr int kTooHighForTheScaler = 2200000;
  FaceBeautyFrameFactory factory;
  const PooledFrame frame = Finished(1, kTooHighForTheScaler, 1, 2);
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 1, kTooHighForTheScaler, Fill::kZero);
  EXPECT_TRUE(factory.CopyToObsFrame(frame, host.get()));
  EXPECT_EQ(host->data[1][kTooHighForTheScaler - 1], 128);
}

TEST(FrameFactoryOutput, SameSizeInAnotherFormatWithNullPlanesIsRefused) {
  FaceBeautyFrameFactory factory;
  const PooledFrame frame = Finished(32, 16, 32, 32);
  const auto packed = MakeHostFrame(VIDEO_FORMAT_BGRA, 32, 16);
  packed->format = VIDEO_FORMAT_I420;  // planes 1 and 2 are null
  EXPECT_FALSE(factory.CopyToObsFrame(frame, packed.get()));
  packed->format = VIDEO_FORMAT_NV12;
  EXPECT_FALSE(factory.CopyToObsFrame(frame, packed.get()));
}

TEST(FrameFactoryOutput, UnwrittenRestOfAnOddLastChromaRowTakesTheRowAbove) {
  FaceBeautyFrameFactory factory;
  PooledFrame frame = Finished(32, 5, 32, 32);
  std::memset(frame.data->planes[0], 120, 32 * 5);
  for (int x = 0; x < 16; ++x) {
    for (int y = 0; y < 3; ++y) {
      frame.data->planes[1][y * 32 + x * 2] = 90;
      frame.data->planes[1][y * 32 + x * 2 + 1] = 200;
    }
  }
  const auto host = MakeHostFrame(VIDEO_FORMAT_BGRA, 32, 5, Fill::kZero);
  ASSERT_TRUE(factory.CopyToObsFrame(frame, host.get()));
  const uint8_t *last = host->data[0] + 4 * host->linesize[0];
  for (int x = 16; x < 32; ++x) {
    for (int channel = 0; channel < 4; ++channel) {
      EXPECT_NEAR(last[x * 4 + channel], host->data[0][x * 4 + channel], 4) << x;
    }
  }
}

}  // namespace
}  // namespace vanta
