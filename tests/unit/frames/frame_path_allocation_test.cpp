// The frame path takes nothing from the heap once it is warm.
#include <gtest/gtest.h>

#include "fakes/engine/scripted_engine.h"
#include "fixtures/frames/guarded_frame.h"
#include "fixtures/frames/host_frame.h"
#include "fixtures/process/alloc_counter.h"
#include "frames/face_beauty_frame_factory.h"

namespace vanta {
namespace {

class FramePathAllocation : public testing::TestWithParam<video_format> {};

void TravelOnce(FaceBeautyFrameFactory &factory, obs_source_frame *host) {
  factory.PutInput(factory.TakeFreeFrame(host->width, host->height), host);
  PooledFrameQueue batch = factory.TakeAllInput();
  factory.PushOutput(batch.PopFront());
  PooledFramePtr frame = factory.TakeOutput(host->width, host->height);
  ASSERT_NE(frame, nullptr);
  EXPECT_TRUE(factory.CopyToObsFrame(*frame, host));
  factory.Recycle(std::move(frame));
}

TEST_P(FramePathAllocation, IsNoneAfterTheFirstFrames) {
  vanta_test::scripted_engine::SetRecording(false);
  FaceBeautyFrameFactory factory;
  const auto host = vanta_test::MakeHostFrame(GetParam(), 64, 36);
  for (int i = 0; i < 4; ++i) TravelOnce(factory, host.get());
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < 100; ++i) TravelOnce(factory, host.get());
  EXPECT_EQ(counter.OnThisThread(), 0u);
}

TEST_P(FramePathAllocation, IsNoneForPlanesThatEndWithTheirPage) {
  vanta_test::scripted_engine::SetRecording(false);
  FaceBeautyFrameFactory factory;
  vanta_test::GuardedHostFrame host(GetParam(), 62, 35, vanta_test::GuardSide::kBehind);
  for (int i = 0; i < 4; ++i) TravelOnce(factory, host.get());
  const vanta_test::AllocCounter counter;
  for (int i = 0; i < 100; ++i) TravelOnce(factory, host.get());
  EXPECT_EQ(counter.OnThisThread(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Common, FramePathAllocation,
                         testing::Values(VIDEO_FORMAT_NV12, VIDEO_FORMAT_I420, VIDEO_FORMAT_YUY2, VIDEO_FORMAT_BGRA,
                                         VIDEO_FORMAT_I422),
                         [](const auto &info) { return std::string(get_video_format_name(info.param)); });

}  // namespace
}  // namespace vanta
