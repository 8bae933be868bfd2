// Both roads of the landmark filter on whole libobs, with the open vision runner and a portrait: the same points.
#include <gtest/gtest.h>

#include <cmath>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "integration/support/landmark_filter.h"
#include "integration/support/obs_session.h"
#include "integration/support/painted_source.h"
#include "support/portrait.h"
#include "support/wait.h"
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

// The published points of a still portrait, once they have settled.
Points PointsOnRoad(const Picture &picture, Road road) {
  PaintedSource source;
  source.Paint(picture);
  FaceReceiver receiver;
  const LandmarkFilter filter(source.Get(), road);
  obs_set_output_source(0, source.Get());
  Points newest;
  vanta_test::WaitUntil(
      [&] {
        std::vector<Points> with_face;
        for (const FaceMessage &message : receiver.Messages())
          if (message.faces == 1) with_face.push_back(message.points);
        if (with_face.size() < 10) return false;
        newest = with_face.back();
        return true;
      },
      "faces");
  EXPECT_EQ(receiver.Messages().back().width, picture.width);
  obs_set_output_source(0, nullptr);
  return newest;
}

TEST(LandmarkPortrait, BothRoadsGiveTheSamePointsWithinHalfAPixel) {
  const ObsSession session;
  RegisterPaintedSource();
  const Picture picture = PortraitAsPicture();
  const Points cpu = PointsOnRoad(picture, Road::kCpu);
  const Points gpu = PointsOnRoad(picture, Road::kGpu);
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
