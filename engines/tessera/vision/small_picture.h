// A picture in the size in which faces are followed and searched beside the frames.
#pragma once

#include <cstdint>
#include <memory>

#include "vision/picture_view.h"

namespace tessera {

// Owns its planes. Never changes once it is made.
struct SmallPicture {
  PictureView view;
  uint64_t number = 0;      // counts up from picture to picture
  uint64_t generation = 0;  // another one: a picture of something else
};

// Makes them in planes that are used again when nobody holds the picture any more. Pictures may outlive their maker.
// Threads: Make one at a time; the pictures may go on any.
class SmallPictureMaker {
 public:
  static constexpr int kLongestSide = 640;  // pixels

  SmallPictureMaker();
  std::shared_ptr<SmallPicture> Make(const PictureView &picture);

  // How many pixels of a picture of that size stand in one of the small picture.
  static float ScaleOf(cv::Size size);

 private:
  struct Free;
  std::shared_ptr<Free> free_;
  cv::Mat half_;
};

}  // namespace tessera
