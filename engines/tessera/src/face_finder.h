// From a picture to the faces in it, followed from picture to picture.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "eye_finder.h"
#include "face_search.h"
#include "picture_view.h"
#include "result_tree.h"

namespace tessera {

// Owns: the cascades, and what it remembers of the faces of the last picture. Threads: one at a time.
class FaceFinder {
 public:
  // `eye_cascade` may be empty: then the eyes are told by darkness alone. False when a file is no cascade.
  bool Load(const std::string &face_cascade, const std::string &eye_cascade);
  void SetMaxFaces(int faces);
  std::vector<FoundFace> Find(const PictureView &picture);

 private:
  // A face that is followed.
  struct Track {
    Placement placement;
    std::vector<cv::Point2f> points;  // smoothed
  };

  bool IsFace(const CoarseFace &face, const Eyes &eyes) const;
  void FollowFaces(const PictureView &picture);
  void LookForMore(const PictureView &picture);
  void Smooth(Track &track, const std::vector<cv::Point2f> &points) const;

  FaceSearch search_;
  EyeFinder eyes_;
  int max_faces_ = 1;
  cv::Size size_;  // of the last picture
  std::vector<Track> tracks_;
  float last_angle_ = 0;        // radians, of the face seen last
  int until_whole_search_ = 0;  // pictures
};

}  // namespace tessera
