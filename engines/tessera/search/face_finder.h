// From a picture to the faces in it, before the call returns.
#pragma once

#include <vector>

#include "following/known_faces.h"
#include "results/result_tree.h"
#include "search/face_look.h"
#include "vision/picture_view.h"

namespace tessera {

// Follows known faces, and searches for them and for others only so often: at once where one is lost or none is known,
// else every few pictures. The same pictures in the same order give the same faces. Borrows: the cascades. Threads: one
// at a time.
class FaceFinder {
 public:
  explicit FaceFinder(FaceLook &look) : look_(look) {}

  void SetMaxFaces(int faces);
  // As if there had been no picture before.
  void StartAnew();
  std::vector<FoundFace> Find(const PictureView &picture);

 private:
  void LookAgain(const PictureView &picture);
  void LookEverywhere(const PictureView &picture);
  void Sweep(const PictureView &picture, const SearchPass &pass);
  void Begin(const PictureView &picture, const SeenFace &seen);
  bool Room() const { return known_.Count() < static_cast<size_t>(max_faces_); }

  FaceLook &look_;
  KnownFaces known_;
  int max_faces_ = 1;
  cv::Size size_;  // of the last picture
  uint64_t picture_ = 0;
  bool searched_everywhere_ = false;  // since there was a face
  size_t sweeps_ = 0;
  DarkPasses dark_passes_;
  float last_angle_ = 0;  // radians, of the face seen last
};

}  // namespace tessera
