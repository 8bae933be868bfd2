// Host planes stand against guard pages: a read or a write out of bounds ends the test.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fixtures/frames/guarded_frame.h"
#include "fixtures/frames/host_frame.h"
#include "frames/face_beauty_frame_factory.h"

namespace vanta {
namespace {

using vanta_test::GuardedHostFrame;
using vanta_test::GuardSide;

class FrameFactoryBounds : public testing::TestWithParam<video_format> {};

// There and back; both ways must succeed.
void RoundTrip(FaceBeautyFrameFactory &factory, obs_source_frame *host) {
  PooledFramePtr frame = factory.TakeFreeFrame(host->width, host->height);
  frame->data = vanta_test::MakeEngineFrame(static_cast<int>(host->width), static_cast<int>(host->height),
                                            static_cast<int>(host->width),
                                            vanta_test::ChromaPitch(static_cast<int>(host->width)));
  factory.PutInput(std::move(frame), host);
  frame = factory.TakeNextInput();
  ASSERT_NE(frame, nullptr) << host->width << " x " << host->height;
  EXPECT_TRUE(factory.CopyToObsFrame(*frame, host)) << host->width << " x " << host->height;
  factory.Recycle(std::move(frame));
}

TEST_P(FrameFactoryBounds, SmallSizesStayInsideTheHostsPlanes) {
  for (const GuardSide side : {GuardSide::kBehind, GuardSide::kBefore}) {
    for (uint32_t width = 1; width <= 37; ++width) {
      for (uint32_t height = 1; height <= 5; ++height) {
        FaceBeautyFrameFactory factory;
        GuardedHostFrame host(GetParam(), width, height, side);
        RoundTrip(factory, host.get());
      }
    }
  }
}

TEST_P(FrameFactoryBounds, WideRowsStayInsideTheHostsPlanes) {
  for (const uint32_t width : {64u, 96u, 128u, 639u, 1280u, 1918u, 1919u, 1920u, 16383u, 16384u}) {
    FaceBeautyFrameFactory factory;
    GuardedHostFrame host(GetParam(), width, 3, GuardSide::kBehind);
    RoundTrip(factory, host.get());
  }
}

// Whatever `spoil` does to one of the host's planes, such a frame neither goes in nor is written.
void ExpectRefusedBothWays(video_format format, const std::function<void(obs_source_frame &, int)> &spoil) {
  for (int plane = 0; plane < 4; ++plane) {
    FaceBeautyFrameFactory factory;
    const auto host = vanta_test::MakeHostFrame(format, 32, 16);
    uint8_t *const memory = host->data[plane];
    if (!memory) continue;
    factory.PutInput(factory.TakeFreeFrame(32, 16), host.get());
    const PooledFramePtr frame = factory.TakeNextInput();
    ASSERT_NE(frame, nullptr);
    spoil(*host, plane);
    EXPECT_FALSE(factory.CopyToObsFrame(*frame, host.get()));
    factory.PutInput(factory.TakeFreeFrame(32, 16), host.get());
    EXPECT_FALSE(factory.HasInput());
    host->data[plane] = memory;
  }
}

TEST_P(FrameFactoryBounds, EachMissingPlaneIsRefusedBothWays) {
  ExpectRefusedBothWays(GetParam(), [](obs_source_frame &host, int plane) { host.data[plane] = nullptr; });
}

TEST_P(FrameFactoryBounds, EachZeroPitchIsRefusedBothWays) {
  ExpectRefusedBothWays(GetParam(), [](obs_source_frame &host, int plane) { host.linesize[plane] = 0; });
}

// What lies behind a plane must not reach the picture, even where the scaler reads it.
TEST_P(FrameFactoryBounds, BytesBehindThePlanesDoNotShow) {
  for (uint32_t width = 1; width <= 35; width += 2) {
    const auto host = vanta_test::MakeHostFrame(GetParam(), width, 4);
    std::vector<uint8_t> pictures[2];
    for (const int behind : {0, 255}) {
      obs_source_frame padded = *host;
      std::vector<std::vector<uint8_t>> planes;
      for (int i = 0; i < MAX_AV_PLANES; ++i) {
        if (!host->data[i]) continue;
        const size_t size = static_cast<size_t>(host->linesize[i]) * vanta_test::PlaneRows(*host, i);
        planes.emplace_back(host->data[i], host->data[i] + size).resize(size + 128, static_cast<uint8_t>(behind));
        padded.data[i] = planes.back().data();
      }
      FaceBeautyFrameFactory factory;
      factory.PutInput(factory.TakeFreeFrame(width, 4), &padded);
      const PooledFramePtr frame = factory.TakeNextInput();
      ASSERT_NE(frame, nullptr);
      const size_t pitch = static_cast<size_t>(frame->data->strides[1]);
      auto &picture = pictures[behind ? 1 : 0];
      picture.assign(frame->data->planes[0], frame->data->planes[0] + width * 4);
      picture.insert(picture.end(), frame->data->planes[1], frame->data->planes[1] + pitch * 2);
    }
    EXPECT_EQ(pictures[0], pictures[1]) << width;
  }
}

std::string FormatName(const testing::TestParamInfo<video_format> &info) {
  return get_video_format_name(info.param);
}

INSTANTIATE_TEST_SUITE_P(All, FrameFactoryBounds, testing::ValuesIn(vanta_test::ScalableFormats()), FormatName);

}  // namespace
}  // namespace vanta
