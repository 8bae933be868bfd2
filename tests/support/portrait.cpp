#include "support/portrait.h"

#include <cmath>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "tessera/point_layout.h"

namespace vanta_test {
namespace {

// In pixels of the portrait; a pixel's centre is whole.
const std::array<cv::Point2f, kMarks> kPlaces = {{
    {126.4F, 101.0F},  // left eye, outer corner
    {148.0F, 103.2F},  // left eye, inner corner
    {170.8F, 104.1F},  // right eye, inner corner
    {193.8F, 103.9F},  // right eye, outer corner
    {138.6F, 100.7F},  // left pupil
    {181.4F, 102.8F},  // right pupil
    {159.5F, 127.5F},  // tip of the nose
    {136.9F, 138.5F},  // mouth, left corner
    {179.5F, 140.4F},  // mouth, right corner
    {157.6F, 139.7F},  // upper lip, top of its middle
    {157.0F, 154.2F},  // lower lip, bottom of its middle
}};
const std::array<cv::Point2f, kJawMarks> kJaw = {{
    {117.4F, 139.6F},  // beside the mouth
    {134.6F, 168.6F},
    {157.5F, 177.7F},  // chin
    {180.6F, 171.6F},
    {201.3F, 139.6F},
}};
constexpr size_t kLeftPupilMark = 4;
constexpr size_t kRightPupilMark = 5;

// The mirrored picture's marks are those of the other side.
constexpr std::array<size_t, kMarks> kMirrored = {3, 2, 1, 0, 5, 4, 6, 8, 7, 9, 10};

struct Placed {
  cv::Mat bgr;   // only the portrait, the rest is 0
  cv::Mat mask;  // where it stands
  std::array<cv::Point2f, kMarks> marks;
  std::array<cv::Point2f, kJawMarks> jaw;
};

Placed Warp(const cv::Mat &portrait, const PortraitSetup &setup, int border) {
  const cv::Point2f left = kPlaces[kLeftPupilMark];
  const cv::Point2f right = kPlaces[kRightPupilMark];
  const cv::Point2f between = (left + right) * 0.5F;
  const double scale = setup.eye_distance / std::hypot(right.x - left.x, right.y - left.y);
  const double angle = setup.degrees * CV_PI / 180;
  const double flip = setup.mirror ? -1 : 1;
  const double c = std::cos(angle) * scale;
  const double s = std::sin(angle) * scale;
  const cv::Matx22d turn(c * flip, -s * setup.stretch, s * flip, c * setup.stretch);
  const cv::Vec2d shift = cv::Vec2d(setup.middle.x, setup.middle.y) - turn * cv::Vec2d(between.x, between.y);
  const cv::Matx23d matrix(turn(0, 0), turn(0, 1), shift[0], turn(1, 0), turn(1, 1), shift[1]);
  Placed placed;
  cv::Mat source = portrait;
  cv::Matx23d from_source = matrix;
  if (scale < 1) {  // smaller than the portrait: every pixel of it counts
    cv::GaussianBlur(portrait, source, cv::Size(0, 0), 0.45 / scale);
  }
  cv::warpAffine(source, placed.bgr, from_source, setup.size, scale > 1 ? cv::INTER_CUBIC : cv::INTER_LINEAR, border);
  cv::warpAffine(cv::Mat(portrait.size(), CV_8UC1, cv::Scalar(255)), placed.mask, matrix, setup.size,
                 cv::INTER_NEAREST);
  const auto moved = [&turn, &shift](cv::Point2f place) {
    const cv::Vec2d to = turn * cv::Vec2d(place.x, place.y) + shift;
    return cv::Point2f(static_cast<float>(to[0]), static_cast<float>(to[1]));
  };
  for (size_t i = 0; i < kMarks; ++i) placed.marks[i] = moved(kPlaces[setup.mirror ? kMirrored[i] : i]);
  for (size_t i = 0; i < kJawMarks; ++i) placed.jaw[i] = moved(kJaw[i]);
  return placed;
}

void Finish(PortraitPicture &picture, const PortraitSetup &setup) {
  cv::Mat &bgr = picture.bgr;
  if (setup.gain != 1) bgr.convertTo(bgr, CV_8UC3, setup.gain);
  if (setup.grey) {
    cv::Mat grey;
    cv::cvtColor(bgr, grey, cv::COLOR_BGR2GRAY);
    cv::cvtColor(grey, bgr, cv::COLOR_GRAY2BGR);
  }
  if (setup.noise > 0) {
    cv::RNG random(setup.seed);
    cv::Mat noise(bgr.size(), CV_16SC3);
    random.fill(noise, cv::RNG::NORMAL, 0, setup.noise);
    cv::Mat sum;
    cv::add(bgr, noise, sum, cv::noArray(), CV_8UC3);
    bgr = sum;
  }
  cv::cvtColor(bgr, picture.i420, cv::COLOR_BGR2YUV_I420);
}

}  // namespace

unsigned char *PortraitPicture::Plane(int index) {
  const int luma = bgr.cols * bgr.rows;
  return i420.data + (index == 0 ? 0 : luma + (index - 1) * luma / 4);
}

const std::array<Mark, kMarks> &PortraitMarks() {
  static constexpr std::array<Mark, kMarks> marks = {{
      {"left eye, outer corner", tessera::kLeftEyeOuterCorner},
      {"left eye, inner corner", tessera::kLeftEyeInnerCorner},
      {"right eye, inner corner", tessera::kRightEyeInnerCorner},
      {"right eye, outer corner", tessera::kRightEyeOuterCorner},
      {"left pupil", tessera::kLeftPupil},
      {"right pupil", tessera::kRightPupil},
      {"tip of the nose", tessera::kNoseTip},
      {"mouth, left corner", tessera::kMouthLeftCorner},
      {"mouth, right corner", tessera::kMouthRightCorner},
      {"upper lip, top", tessera::kUpperLipTop},
      {"lower lip, bottom", tessera::kLowerLipBottom},
  }};
  return marks;
}

cv::Mat ReadPortrait(const std::string &file) {
  return cv::imread(file, cv::IMREAD_COLOR);
}

PortraitPicture PlacePortrait(const cv::Mat &portrait, const PortraitSetup &setup) {
  const Placed placed = Warp(portrait, setup, cv::BORDER_REPLICATE);
  PortraitPicture picture{placed.bgr, {}, placed.marks, placed.jaw, setup.eye_distance};
  Finish(picture, setup);
  return picture;
}

void AddPortrait(PortraitPicture &picture, const cv::Mat &portrait, const PortraitSetup &setup) {
  PortraitSetup same_size = setup;
  same_size.size = picture.bgr.size();
  const Placed placed = Warp(portrait, same_size, cv::BORDER_CONSTANT);
  placed.bgr.copyTo(picture.bgr, placed.mask);
  Finish(picture, same_size);
}

}  // namespace vanta_test
