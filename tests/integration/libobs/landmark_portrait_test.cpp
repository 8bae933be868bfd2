// The landmark filter's two paths and the engine's own on whole libobs, with the open vision runner and a portrait: the
// same points.
#include <gtest/gtest.h>

#include <libyuv/convert.h>

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "fixtures/libobs/beauty_chain.h"
#include "fixtures/libobs/fed_frame.h"
#include "fixtures/libobs/fed_source.h"
#include "fixtures/libobs/landmark_chain.h"
#include "fixtures/libobs/obs_session.h"
#include "fixtures/libobs/painted_source.h"
#include "fixtures/portrait/portrait.h"
#include "fixtures/process/wait.h"
#include "vanta_host.h"

namespace vanta_integration {
namespace {

using Points = std::vector<Point>;

Picture PortraitAsPicture() {
  const cv::Mat portrait = vanta_test::ReadPortrait(VANTA_PORTRAIT);
  const vanta_test::PortraitPicture placed = vanta_test::PlacePortrait(portrait, {});
  cv::Mat rgba;
  cv::cvtColor(placed.bgr, rgba, cv::COLOR_BGR2RGBA);
  Picture picture(static_cast<uint32_t>(rgba.cols), static_cast<uint32_t>(rgba.rows));
  std::copy(rgba.datastart, rgba.dataend, picture.pixels.begin());
  return picture;
}

// Of the newest message with a face, once there were enough for the points to settle. Nothing before.
Points SettledPoints(const FaceReceiver &receiver) {
  std::vector<Points> with_face;
  for (const FaceMessage &message : receiver.Messages())
    if (message.faces == 1) with_face.push_back(message.points);
  return with_face.size() < 10 ? Points() : with_face.back();
}

// The published points of a still portrait, once they have settled.
Points PointsOnPath(const Picture &picture, Path path) {
  PaintedSource source;
  source.Paint(picture);
  FaceReceiver receiver;
  const LandmarkFilter filter(source.Get(), path);
  obs_set_output_source(0, source.Get());
  EXPECT_TRUE(WaitInStep([&] { return !SettledPoints(receiver).empty(); }, "faces"));
  const Points newest = SettledPoints(receiver);
  EXPECT_EQ(receiver.Messages().back().width, picture.width);
  obs_set_output_source(0, nullptr);
  return newest;
}

// The engine looks at the frames that pass through the beauty filter.
Points PointsOnTheEnginesPath(const Picture &picture) {
  const auto width = static_cast<int>(picture.width);
  const auto height = static_cast<int>(picture.height);
  const FedFrame frame = MakeFrame(0, VIDEO_FORMAT_I420, picture.width, picture.height);
  obs_source_frame &i420 = *frame.Get();
  libyuv::ABGRToI420(picture.pixels.data(), width * 4, i420.data[0], static_cast<int>(i420.linesize[0]), i420.data[1],
                     static_cast<int>(i420.linesize[1]), i420.data[2], static_cast<int>(i420.linesize[2]), width,
                     height);
  vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, true);
  FedSource source;
  BeautyChain chain(source.Get());
  FaceReceiver receiver;
  EXPECT_TRUE(vanta_test::WaitUntil(
      [&] {
        FeedThrough(source, chain, frame);
        return !SettledPoints(receiver).empty();
      },
      "faces"));
  vanta_host_set_switch(VANTA_SWITCH_FACE_POINT_BY_LX, false);
  return SettledPoints(receiver);
}

// The module cuts the engine's points to whole pixels before it sends them.
void ExpectCutWithinHalfAPixel(double cut, double whole) {
  EXPECT_EQ(cut, std::floor(cut));
  EXPECT_GE(whole - cut, -0.5);
  EXPECT_LE(whole - cut, 1.5);
}

TEST(LandmarkPortrait, TheEnginesOwnPathGivesThesePointsCutToWholePixels) {
  const ObsSession session;
  RegisterPaintedSource();
  const Picture picture = PortraitAsPicture();
  const Points gpu = PointsOnPath(picture, Path::kGpu);
  const Points engine = PointsOnTheEnginesPath(picture);
  ASSERT_EQ(gpu.size(), 5u);
  ASSERT_EQ(engine.size(), 5u);
  for (size_t i = 0; i < gpu.size(); ++i) {
    ExpectCutWithinHalfAPixel(engine[i].x, gpu[i].x);
    ExpectCutWithinHalfAPixel(engine[i].y, gpu[i].y);
  }
}

TEST(LandmarkPortrait, BothPathsGiveTheSamePointsWithinHalfAPixel) {
  const ObsSession session({.held_clock = true});
  RegisterPaintedSource();
  const Picture picture = PortraitAsPicture();
  const Points cpu = PointsOnPath(picture, Path::kCpu);
  const Points gpu = PointsOnPath(picture, Path::kGpu);
  ASSERT_EQ(cpu.size(), 5u);
  ASSERT_EQ(gpu.size(), 5u);
  for (size_t i = 0; i < cpu.size(); ++i) {
    EXPECT_GT(cpu[i].x, 0);
    EXPECT_NEAR(cpu[i].x, gpu[i].x, 0.5);
    EXPECT_NEAR(cpu[i].y, gpu[i].y, 0.5);
  }
}

}  // namespace
}  // namespace vanta_integration
