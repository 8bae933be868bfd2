// From a picture to the faces in it, followed from picture to picture.
#pragma once

#include <string>
#include <vector>

#include "features/eye_finder.h"
#include "results/result_tree.h"
#include "search/face_memory.h"
#include "search/face_search.h"
#include "vision/picture_view.h"

namespace tessera {

// Owns: the cascades. Threads: one at a time.
class FaceFinder {
 public:
  // `eye_cascade` may be empty: then the eyes are told by darkness alone. False when a file is no cascade.
  bool Load(const std::string &face_cascade, const std::string &eye_cascade);
  std::vector<FoundFace> Find(const PictureView &picture, FaceMemory &memory);

 private:
  bool IsFace(const CoarseFace &face, const Eyes &eyes) const;
  void FollowFaces(const PictureView &picture, FaceMemory &memory);
  void LookForMore(const PictureView &picture, FaceMemory &memory);

  FaceSearch search_;
  EyeFinder eyes_;
};

}  // namespace tessera
