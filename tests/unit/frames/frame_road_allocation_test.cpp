// The frame road takes nothing from the heap once it is warm.
#include <gtest/gtest.h>

#include "frames/face_beauty_frame_factory.h"
#include "support/alloc_counter.h"
#include "support/scripted_engine.h"
#include "unit/frames/host_frame.h"

namespace vanta {
namespace {

class FrameRoadAllocation : public testing::TestWithParam<video_format> {};

void TravelOnce(FaceBeautyFrameFactory &factory, obs_source_frame *host) {
  factory.PutInput(factory.TakeFreeFrame(host->width, host->height), host);
  PooledFrameQueue batch = factory.TakeAllInput();
  factory.PushOutput(batch.PopFront());
  if (PooledFramePtr frame = factory.TakeOutput(host->width, host->height)) {
    EXPECT_TRUE(factory.CopyToObsFrame(*frame, host));
    factory.Recycle(std::move(frame));
  }
}

TEST_P(FrameRoadAllocation, IsNoneAfterTheFirstFrames) {
  vanta_test::scripted_engine::SetRecording(false);
  FaceBeautyFrameFactory factory;
  const auto host = vanta_test::MakeHostFrame(GetParam(), 64, 36);
  for (int i = 0; i < 4; ++i) TravelOnce(factory, host.get());
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < 100; ++i) TravelOnce(factory, host.get());
  EXPECT_EQ(counter.OnThisThread(), 0u);
}

TEST_P(FrameRoadAllocation, IsNoneForPlanesThatEndWithTheirPage) {
  vanta_test::scripted_engine::SetRecording(false);
  FaceBeautyFrameFactory factory;
  vanta_test::GuardedHostFrame host(GetParam(), 62, 35, vanta_test::GuardSide::kBehind);
  for (int i = 0; i < 4; ++i) TravelOnce(factory, host.get());
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < 100; ++i) TravelOnce(factory, host.get());
  EXPECT_EQ(counter.OnThisThread(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Common, FrameRoadAllocation,
                         testing::Values(VIDEO_FORMAT_NV12, VIDEO_FORMAT_I420, VIDEO_FORMAT_YUY2, VIDEO_FORMAT_BGRA,
                                         VIDEO_FORMAT_I422),
                         [](const auto &info) { return std::string(get_video_format_name(info.param)); });

}  // namespace
}  // namespace vanta
