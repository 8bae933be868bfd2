// Every pixel format of the host, each way, against direct calls of the host's scaler.
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <media-io/video-scaler.h>

#include "fakes/host/host_double.h"
#include "fixtures/frames/host_frame.h"
#include "frames/face_beauty_frame_factory.h"

namespace vanta {
namespace {

using vanta_test::Fill;
using vanta_test::HostFrame;
using vanta_test::MakeHostFrame;
using vanta_test::PixelsOf;

constexpr uint32_t kWidth = 74;
constexpr uint32_t kHeight = 38;

struct Colours {
  video_colorspace space = VIDEO_CS_709;  // what the host double says
  video_range_type range = VIDEO_RANGE_PARTIAL;
};

// The conversion done bare.
HostFrame Scaled(const obs_source_frame &from, video_format to, const Colours &colours = {}) {
  HostFrame result(obs_source_frame_create(to, from.width, from.height));
  const video_scale_info source{from.format, from.width, from.height, colours.range, colours.space};
  const video_scale_info target{to, from.width, from.height, colours.range, colours.space};
  video_scaler_t *scaler = nullptr;
  EXPECT_EQ(video_scaler_create(&scaler, &target, &source, VIDEO_SCALE_DEFAULT), VIDEO_SCALER_SUCCESS);
  EXPECT_TRUE(video_scaler_scale(scaler, result->data, result->linesize, from.data, from.linesize));
  video_scaler_destroy(scaler);
  return result;
}

class FrameFactoryFormats : public testing::TestWithParam<video_format> {};

constexpr Fill kFills[] = {Fill::kZero, Fill::kMax, Fill::kRandom};

TEST_P(FrameFactoryFormats, InputEqualsTheHostsOwnConversion) {
  for (const Fill fill : kFills) {
    const HostFrame host = MakeHostFrame(GetParam(), kWidth, kHeight, fill);
    const HostFrame reference = Scaled(*host, VIDEO_FORMAT_NV12);
    FaceBeautyFrameFactory factory;
    factory.PutInput(factory.TakeFreeFrame(kWidth, kHeight), host.get());
    const PooledFramePtr frame = factory.TakeNextInput();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(std::memcmp(frame->data->planes[0], reference->data[0], kWidth * kHeight), 0);
    EXPECT_EQ(std::memcmp(frame->data->planes[1], reference->data[1], kWidth * kHeight / 2), 0);
  }
}

TEST_P(FrameFactoryFormats, OutputEqualsTheHostsOwnConversion) {
  for (const Fill fill : kFills) {
    const HostFrame nv12 = MakeHostFrame(VIDEO_FORMAT_NV12, kWidth, kHeight, fill);
    const HostFrame reference = Scaled(*nv12, GetParam());
    FaceBeautyFrameFactory factory;
    factory.PutInput(factory.TakeFreeFrame(kWidth, kHeight), nv12.get());
    const PooledFramePtr frame = factory.TakeNextInput();
    ASSERT_NE(frame, nullptr);
    const HostFrame host = MakeHostFrame(GetParam(), kWidth, kHeight, Fill::kRandom);
    ASSERT_TRUE(factory.CopyToObsFrame(*frame, host.get()));
    EXPECT_EQ(PixelsOf(*host), PixelsOf(*reference));
  }
}

std::vector<Colours> AllColours() {
  std::vector<Colours> all;
  for (const video_colorspace space : {VIDEO_CS_601, VIDEO_CS_709, VIDEO_CS_2100_PQ})
    for (const video_range_type range : {VIDEO_RANGE_PARTIAL, VIDEO_RANGE_FULL}) all.push_back({space, range});
  return all;
}

void Say(const Colours &colours, obs_source_frame &host) {
  vanta_test::host_double::Change([&](vanta_test::HostSwitches &says) { says.colorspace = colours.space; });
  host.full_range = colours.range == VIDEO_RANGE_FULL;
}

TEST(FrameFactoryColours, SpaceAndRangeOfTheFrameReachTheInputsScaler) {
  const HostFrame host = MakeHostFrame(VIDEO_FORMAT_BGRA, kWidth, kHeight);
  FaceBeautyFrameFactory factory;
  std::set<std::vector<uint8_t>> pictures;  // none can stand for another
  for (const Colours &colours : AllColours()) {
    SCOPED_TRACE(std::to_string(colours.space) + ", range " + std::to_string(colours.range));
    const HostFrame reference = Scaled(*host, VIDEO_FORMAT_NV12, colours);
    EXPECT_TRUE(pictures.insert(PixelsOf(*reference)).second);
    Say(colours, *host);
    factory.PutInput(factory.TakeFreeFrame(kWidth, kHeight), host.get());
    PooledFramePtr frame = factory.TakeNextInput();
    ASSERT_NE(frame, nullptr);
    EXPECT_EQ(std::memcmp(frame->data->planes[0], reference->data[0], kWidth * kHeight), 0);
    EXPECT_EQ(std::memcmp(frame->data->planes[1], reference->data[1], kWidth * kHeight / 2), 0);
    factory.Recycle(std::move(frame));
  }
}

TEST(FrameFactoryColours, SpaceAndRangeOfTheFrameReachTheOutputsScaler) {
  const HostFrame nv12 = MakeHostFrame(VIDEO_FORMAT_NV12, kWidth, kHeight);
  FaceBeautyFrameFactory factory;
  factory.PutInput(factory.TakeFreeFrame(kWidth, kHeight), nv12.get());
  const PooledFramePtr frame = factory.TakeNextInput();
  ASSERT_NE(frame, nullptr);
  std::set<std::vector<uint8_t>> pictures;
  for (const Colours &colours : AllColours()) {
    SCOPED_TRACE(std::to_string(colours.space) + ", range " + std::to_string(colours.range));
    const HostFrame reference = Scaled(*nv12, VIDEO_FORMAT_BGRA, colours);
    EXPECT_TRUE(pictures.insert(PixelsOf(*reference)).second);
    const HostFrame host = MakeHostFrame(VIDEO_FORMAT_BGRA, kWidth, kHeight);
    Say(colours, *host);
    ASSERT_TRUE(factory.CopyToObsFrame(*frame, host.get()));
    EXPECT_EQ(PixelsOf(*host), PixelsOf(*reference));
  }
}

std::vector<video_format> ConvertedFormats() {
  auto formats = vanta_test::ScalableFormats();
  std::erase(formats, VIDEO_FORMAT_NV12);
  return formats;
}

INSTANTIATE_TEST_SUITE_P(All, FrameFactoryFormats, testing::ValuesIn(ConvertedFormats()),
                         [](const auto &info) { return std::string(get_video_format_name(info.param)); });

}  // namespace
}  // namespace vanta
