// From the host's frame into the input queue.
#include <cstring>

#include <gtest/gtest.h>

#include "fakes/engine/scripted_engine.h"
#include "fakes/host/host_double.h"
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

void ExpectRows(const uint8_t *to, size_t to_pitch, const uint8_t *from, size_t from_pitch, size_t row, size_t rows) {
  for (size_t y = 0; y < rows; ++y) {
    ASSERT_EQ(std::memcmp(to + y * to_pitch, from + y * from_pitch, row), 0) << "row " << y;
  }
}

size_t FreeCarriers(FaceBeautyFrameFactory &factory) {
  std::vector<PooledFramePtr> frames;
  while (PooledFramePtr frame = factory.TakeFreeFrame(16, 16)) frames.push_back(std::move(frame));
  const size_t count = frames.size();
  for (auto &frame : frames) factory.Recycle(std::move(frame));
  return count;
}

void ExpectRefused(obs_source_frame *host, const char *line) {
  FaceBeautyFrameFactory factory;
  LogCapture log;
  factory.PutInput(factory.TakeFreeFrame(host->width, host->height), host);
  EXPECT_FALSE(factory.HasInput());
  EXPECT_TRUE(log.Has(LOG_WARNING, line));
  EXPECT_EQ(FreeCarriers(factory), 4u);
}

TEST(FrameFactoryInput, AppendsInOrder) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  EXPECT_FALSE(factory.HasInput());
  for (uint64_t i = 1; i <= 3; ++i) {
    PooledFramePtr frame = factory.TakeFreeFrame(16, 16);
    frame->created_ms = i;
    factory.PutInput(std::move(frame), host.get());
  }
  EXPECT_TRUE(factory.HasInput());
  EXPECT_EQ(factory.TakeNextInput()->created_ms, 1u);
  PooledFrameQueue rest = factory.TakeAllInput();
  EXPECT_EQ(rest.Size(), 2u);
  EXPECT_EQ(rest.PopFront()->created_ms, 2u);
  EXPECT_FALSE(factory.HasInput());
  EXPECT_EQ(factory.TakeNextInput(), nullptr);
}

TEST(FrameFactoryInput, Nv12GoesOverByteForByte) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 64, 36);
  factory.PutInput(factory.TakeFreeFrame(64, 36), host.get());
  const PooledFramePtr frame = factory.TakeNextInput();
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(std::memcmp(frame->data->planes[0], host->data[0], 64 * 36), 0);
  EXPECT_EQ(std::memcmp(frame->data->planes[1], host->data[1], 64 * 18), 0);
}

TEST(FrameFactoryInput, Nv12GoesIntoWiderEngineRows) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 30, 10);
  PooledFramePtr frame = factory.TakeFreeFrame(30, 10);
  frame->data = MakeEngineFrame(30, 10, 64, 48);
  factory.PutInput(std::move(frame), host.get());
  frame = factory.TakeNextInput();
  ASSERT_NE(frame, nullptr);
  ExpectRows(frame->data->planes[0], 64, host->data[0], 30, 30, 10);
  ExpectRows(frame->data->planes[1], 48, host->data[1], 30, 30, 5);
  EXPECT_EQ(frame->data->planes[0][30], 0xAA);
}

TEST(FrameFactoryInput, Nv12ComesOutOfWiderHostRows) {
  FaceBeautyFrameFactory factory;
  auto wide = MakeHostFrame(VIDEO_FORMAT_NV12, 64, 10);
  wide->width = 30;  // rows of 64 bytes, of which 30 count
  PooledFramePtr frame = factory.TakeFreeFrame(30, 10);
  frame->data = MakeEngineFrame(30, 10, 30, 30);
  factory.PutInput(std::move(frame), wide.get());
  frame = factory.TakeNextInput();
  ASSERT_NE(frame, nullptr);
  ExpectRows(frame->data->planes[0], 30, wide->data[0], 64, 30, 10);
  ExpectRows(frame->data->planes[1], 30, wide->data[1], 64, 30, 5);
}

TEST(FrameFactoryInput, LastChromaRowOfAnOddHeightTakesTheRowAboveWhereTheScalerLeavesItOut) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_BGRA, 32, 5, Fill::kZero);
  for (int i = 0; i < 32 * 5; ++i) host->data[0][i * 4 + 2] = 200;  // red all over
  factory.PutInput(factory.TakeFreeFrame(32, 5), host.get());
  const PooledFramePtr frame = factory.TakeNextInput();
  ASSERT_NE(frame, nullptr);
  EXPECT_GT(frame->data->planes[1][32 + 1], 150);
  EXPECT_EQ(std::memcmp(frame->data->planes[1] + 64, frame->data->planes[1] + 32, 16), 0);
}

TEST(FrameFactoryInput, FrameDataThatFitsStays) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  PooledFramePtr frame = factory.TakeFreeFrame(16, 16);
  const LX::FrameData *data = frame->data.get();
  factory.PutInput(std::move(frame), host.get());
  EXPECT_EQ(factory.TakeNextInput()->data.get(), data);
}

TEST(FrameFactoryInput, FrameDataOfAnotherSizeIsReplacedByAFreshFrame) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 32, 16);
  PooledFramePtr frame = factory.TakeFreeFrame(16, 16);
  frame->created_ms = 4711;
  factory.PutInput(std::move(frame), host.get());
  frame = factory.TakeNextInput();
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->data->width, 32);
  EXPECT_EQ(frame->data->height, 16);
  EXPECT_EQ(frame->data->stamp, 4711u);
  EXPECT_EQ(std::memcmp(frame->data->planes[0], host->data[0], 32 * 16), 0);
}

TEST(FrameFactoryInput, FrameDataOfAnotherPixelFormatIsReplacedByAFreshFrame) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  PooledFramePtr frame = factory.TakeFreeFrame(16, 16);
  frame->data->pixel_format = 3;
  const auto old = frame->data;
  factory.PutInput(std::move(frame), host.get());
  frame = factory.TakeNextInput();
  EXPECT_NE(frame->data, old);
  EXPECT_EQ(frame->data->pixel_format, -1);
}

TEST(FrameFactoryInput, CarrierWithoutFrameDataGetsSome) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  host->timestamp = 99;
  PooledFramePtr frame = factory.TakeFreeFrame(16, 16);
  frame->data.reset();
  factory.PutInput(std::move(frame), host.get());
  frame = factory.TakeNextInput();
  ASSERT_NE(frame, nullptr);
  EXPECT_EQ(frame->data->timestamp, 99u);
  EXPECT_EQ(frame->data->dump_flag, 0);
}

TEST(FrameFactoryInput, MarkForDumpOutlivesTheReplacementOfTheFrameData) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 32, 16);
  factory.PutInput(factory.TakeDumpFrame(7, 16, 16, 500), host.get());
  factory.Recycle(factory.TakeNextInput());
  EXPECT_EQ(factory.GetDumpId(500), 0u);
  EXPECT_EQ(FreeCarriers(factory), 4u);
}

TEST(FrameFactoryInput, ColorCodeFollowsColourSpaceAndRange) {
  const struct {
    video_colorspace space;
    int partial, full;
  } cases[] = {{VIDEO_CS_601, 0, 1},     {VIDEO_CS_709, 2, 3},      {VIDEO_CS_SRGB, 3, 3},
               {VIDEO_CS_2100_PQ, 5, 5}, {VIDEO_CS_2100_HLG, 5, 5}, {VIDEO_CS_DEFAULT, 2, 3}};
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  for (const auto &expected : cases) {
    vanta_test::host_double::Change(
        [&](vanta_test::HostSwitches &host_says) { host_says.colorspace = expected.space; });
    for (const bool full : {false, true}) {
      host->full_range = full;
      factory.PutInput(factory.TakeFreeFrame(16, 16), host.get());
      PooledFramePtr frame = factory.TakeNextInput();
      EXPECT_EQ(frame->data->color_code, full ? expected.full : expected.partial);
      factory.Recycle(std::move(frame));
    }
  }
}

TEST(FrameFactoryInput, WritesLayoutAndWordOverWhatTheCallerLeft) {
  FaceBeautyFrameFactory factory;
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  PooledFramePtr frame = factory.TakeFreeFrame(16, 16);
  frame->data->layout_code = 9;
  frame->data->word = 9;
  factory.PutInput(std::move(frame), host.get());
  frame = factory.TakeNextInput();
  EXPECT_EQ(frame->data->layout_code, 1);
  EXPECT_EQ(frame->data->word, 1);
}

TEST(FrameFactoryInput, FormatWithoutAScalerIsRefusedAndTheCarrierComesBack) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_AYUV, 16, 16);
  ExpectRefused(host.get(), "[beauty] create ffmpeg scaler failed");
}

TEST(FrameFactoryInput, FormatBeyondTheHostsListIsRefused) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  host->format = static_cast<video_format>(31);
  ExpectRefused(host.get(), "[beauty] create ffmpeg scaler failed");
}

TEST(FrameFactoryInput, FormatNoneIsRefused) {
  obs_source_frame host = {};
  host.width = host.height = 16;
  ExpectRefused(&host, "[beauty] create ffmpeg scaler failed");
}

TEST(FrameFactoryInput, SizeZeroIsRefused) {
  obs_source_frame host = {};
  host.format = VIDEO_FORMAT_NV12;
  ExpectRefused(&host, "[beauty] create ffmpeg scaler failed");
}

TEST(FrameFactoryInput, NullChromaOfNv12IsRefused) {
  const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
  host->data[1] = nullptr;
  ExpectRefused(host.get(), "[beauty] ffmpeg format nv12 failed");
}

TEST(FrameFactoryInput, ZeroPitchOfNv12IsRefused) {
  for (int plane : {0, 1}) {
    const auto host = MakeHostFrame(VIDEO_FORMAT_NV12, 16, 16);
    host->linesize[plane] = 0;
    ExpectRefused(host.get(), "[beauty] ffmpeg format nv12 failed");
  }
}

TEST(FrameFactoryInput, PitchBeyondTheSignedRangeIsRefused) {
  for (const video_format format : {VIDEO_FORMAT_NV12, VIDEO_FORMAT_BGRA}) {
    const auto host = MakeHostFrame(format, 16, 16);
    host->linesize[0] = 0xFFFFFFF0u;
    ExpectRefused(host.get(), "[beauty] ffmpeg format nv12 failed");
  }
}

TEST(FrameFactoryInput, MissingHostFrameRecyclesTheCarrier) {
  FaceBeautyFrameFactory factory;
  factory.PutInput(factory.TakeFreeFrame(16, 16), nullptr);
  EXPECT_FALSE(factory.HasInput());
  EXPECT_EQ(FreeCarriers(factory), 4u);
}

TEST(FrameFactoryInput, RefusedFrameDoesNotSpoilTheNextOne) {
  FaceBeautyFrameFactory factory;
  const auto bad = MakeHostFrame(VIDEO_FORMAT_AYUV, 16, 16);
  const auto good = MakeHostFrame(VIDEO_FORMAT_BGRA, 16, 16);
  factory.PutInput(factory.TakeFreeFrame(16, 16), good.get());
  factory.PutInput(factory.TakeFreeFrame(16, 16), bad.get());
  factory.PutInput(factory.TakeFreeFrame(16, 16), good.get());
  PooledFrameQueue input = factory.TakeAllInput();
  ASSERT_EQ(input.Size(), 2u);
  const PooledFramePtr first = input.PopFront();
  const PooledFramePtr second = input.PopFront();
  EXPECT_EQ(std::memcmp(first->data->planes[0], second->data->planes[0], 256), 0);
}

}  // namespace
}  // namespace vanta
