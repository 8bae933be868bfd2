#include "frames/blank_frame.h"

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <media-io/video-scaler.h>

#include "fixtures/frames/guarded_frame.h"
#include "fixtures/frames/host_frame.h"

namespace vanta {
namespace {

using vanta_test::HostFrame;
using vanta_test::MakeHostFrame;

class BlankFrameFormats : public testing::TestWithParam<video_format> {};

// As the host's scaler reads it.
std::vector<uint8_t> ShownAsBgra(const obs_source_frame &frame, video_range_type range) {
  const HostFrame shown = MakeHostFrame(VIDEO_FORMAT_BGRA, frame.width, frame.height);
  const video_scale_info source{frame.format, frame.width, frame.height, range, VIDEO_CS_709};
  const video_scale_info target{VIDEO_FORMAT_BGRA, frame.width, frame.height, VIDEO_RANGE_FULL, VIDEO_CS_709};
  video_scaler_t *scaler = nullptr;
  EXPECT_EQ(video_scaler_create(&scaler, &target, &source, VIDEO_SCALE_DEFAULT), VIDEO_SCALER_SUCCESS);
  EXPECT_TRUE(video_scaler_scale(scaler, shown->data, shown->linesize, frame.data, frame.linesize));
  video_scaler_destroy(scaler);
  return vanta_test::PixelsOf(*shown);
}

TEST_P(BlankFrameFormats, IsOpaqueBlackInEitherRange) {
  constexpr uint32_t kWidth = 74, kHeight = 38;
  constexpr int kRounding = 1;  // of the scaler, in the last rows' alpha
  for (const video_range_type range : {VIDEO_RANGE_PARTIAL, VIDEO_RANGE_FULL}) {
    const HostFrame frame = MakeHostFrame(GetParam(), kWidth, kHeight);
    BlankFrame(*frame);
    const std::vector<uint8_t> shown = ShownAsBgra(*frame, range);
    for (size_t i = 0; i < shown.size(); ++i)
      ASSERT_NEAR(shown[i], i % 4 == 3 ? 255 : 0, kRounding) << "byte " << i << ", range " << range;
  }
}

TEST_P(BlankFrameFormats, EveryRowIsFilledAndNoneIsOverrun) {
  for (uint32_t width = 1; width <= 9; ++width) {
    for (uint32_t height = 1; height <= 4; ++height) {
      vanta_test::GuardedHostFrame frame(GetParam(), width, height, vanta_test::GuardSide::kBehind);
      vanta_test::FillFrame(*frame.get(), vanta_test::Fill::kRandom, 5);
      BlankFrame(*frame.get());
      for (int plane = 0; plane < MAX_AV_PLANES; ++plane) {
        const size_t pitch = frame.get()->linesize[plane];
        const uint8_t *const first = frame.get()->data[plane];
        for (uint32_t y = 1; y < vanta_test::PlaneRows(*frame.get(), plane); ++y)
          ASSERT_TRUE(std::equal(first, first + pitch, first + y * pitch)) << width << "x" << height << ", row " << y;
      }
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, BlankFrameFormats, testing::ValuesIn(vanta_test::ScalableFormats()),
                         [](const auto &info) { return std::string(get_video_format_name(info.param)); });

// The scaler knows no such format.
TEST(BlankFrame, AyuvIsOpaqueBlack) {
  const HostFrame frame = MakeHostFrame(VIDEO_FORMAT_AYUV, 6, 2);
  BlankFrame(*frame);
  for (uint32_t i = 0; i < 6 * 2; ++i) {
    const uint8_t *const vuya = frame->data[0] + i * 4;
    ASSERT_EQ(std::vector<uint8_t>(vuya, vuya + 4), (std::vector<uint8_t>{128, 128, 0, 255}));
  }
}

TEST(BlankFrame, FormatThatOnlyTheHostKnowsStaysAsItWas) {
  const HostFrame frame = MakeHostFrame(VIDEO_FORMAT_BGRA, 8, 4);
  const auto before = vanta_test::PixelsOf(*frame);
  frame->format = static_cast<video_format>(22);
  BlankFrame(*frame);
  frame->format = VIDEO_FORMAT_BGRA;
  EXPECT_EQ(vanta_test::PixelsOf(*frame), before);
}

}  // namespace
}  // namespace vanta
