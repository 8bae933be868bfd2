// What a search for faces takes over from the pictures before.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "vision/picture_view.h"

namespace tessera {

// A face that is followed.
struct FaceTrack {
  Placement placement;
  std::vector<cv::Point2f> points;  // smoothed
};

struct FaceMemory {
  int max_faces = 1;
  cv::Size size;  // of the last picture
  std::vector<FaceTrack> tracks;
  float last_angle = 0;        // radians, of the face seen last
  int until_whole_search = 0;  // pictures
  size_t fruitless = 0;        // searches of the whole picture without a face, in a row

  void SetMaxFaces(int faces);
};

}  // namespace tessera
