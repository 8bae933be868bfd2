// A hand-marked portrait, placed into test pictures turned, scaled, mirrored and noisy.
#pragma once

#include <array>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace vanta_test {

// One hand-marked place of the portrait.
struct Mark {
  const char *name;
  size_t point;  // its index in the published list
};

inline constexpr size_t kMarks = 11;
inline constexpr size_t kJawMarks = 5;

struct PortraitSetup {
  cv::Size size{640, 480};       // of the picture, pixels
  cv::Point2f middle{320, 240};  // where the point between the eyes stands
  float eye_distance = 60;       // between the pupils, pixels
  float degrees = 0;             // turned clockwise as seen
  float noise = 0;               // standard deviation of every RGB code
  float gain = 1;                // brightness
  float stretch = 1;             // height against width
  bool mirror = false;           // left and right exchanged
  bool grey = false;             // without colour
  uint64_t seed = 1;             // of the noise
};

// An I420 picture, tightly packed, and the places in it that hold for the face.
struct PortraitPicture {
  cv::Mat bgr;
  cv::Mat i420;
  std::array<cv::Point2f, kMarks> marks;
  std::array<cv::Point2f, kJawMarks> jaw;  // places on the edge of the face, no points of it
  float eye_distance = 0;

  unsigned char *Plane(int index);  // 0 is Y, 1 is U, 2 is V
};

// The marks of the portrait itself: eye corners, pupils, nose tip, corners of the mouth, edges of the lips. Marked by
// hand on an enlargement of 16.
const std::array<Mark, kMarks> &PortraitMarks();

// Reads the file; an empty picture when it is not there.
cv::Mat ReadPortrait(const std::string &file);

PortraitPicture PlacePortrait(const cv::Mat &portrait, const PortraitSetup &setup);

// Puts another face into the picture.
void AddPortrait(PortraitPicture &picture, const cv::Mat &portrait, const PortraitSetup &setup);

}  // namespace vanta_test
