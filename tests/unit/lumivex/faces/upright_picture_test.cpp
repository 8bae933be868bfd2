#include "faces/upright_picture.h"

#include <gtest/gtest.h>

#include <vector>

namespace lumivex {
namespace {

struct Frame {
  cv::Mat luma;
  cv::Mat chroma;

  explicit Frame(cv::Size size) : luma(size, CV_8U), chroma(size / 2, CV_8UC2) {
    cv::RNG random(9);
    random.fill(luma, cv::RNG::UNIFORM, 0, 256);
    random.fill(chroma, cv::RNG::UNIFORM, 0, 256);
  }
  Nv12View View() const {
    Nv12View view;
    view.y = luma.data;
    view.uv = chroma.data;
    view.y_stride = static_cast<ptrdiff_t>(luma.step[0]);
    view.uv_stride = static_cast<ptrdiff_t>(chroma.step[0]);
    view.width = luma.cols;
    view.height = luma.rows;
    view.chroma_width = chroma.cols;
    view.chroma_height = chroma.rows;
    return view;
  }
};

TEST(UprightPicture, OfAThirdOfTheSizeHasTheMiddleColourOfEachNine) {
  const Frame frame(cv::Size(1920, 1080));
  UprightPicture picture;
  picture.Make(frame.View(), {});
  ASSERT_EQ(picture.U().size(), cv::Size(320, 180));
  for (const cv::Point place :
       {cv::Point(0, 0), cv::Point(319, 0), cv::Point(0, 179), cv::Point(319, 179), cv::Point(160, 90)}) {
    const auto middle = frame.chroma.at<cv::Vec2b>(place.y * 3 + 1, place.x * 3 + 1);
    EXPECT_EQ(picture.U().at<uint8_t>(place), middle[0]) << place;
    EXPECT_EQ(picture.V().at<uint8_t>(place), middle[1]) << place;
  }
}

}  // namespace
}  // namespace lumivex
