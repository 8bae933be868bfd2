// `MovingPicturesTaken`: the pictures of a moving file as they are handed on, within its limits.
#pragma once

#include <algorithm>
#include <string>
#include <utility>

#include "files/moving_picture.h"

namespace lumivex {

// Owns: the result. Borrows: limits and receiver. Threads: one.
class MovingPicturesTaken {
 public:
  MovingPicturesTaken(const MovingLimits &limits, const TakePicture &take) : limits_(limits), take_(take) {}

  // Before memory is taken for a picture; where there is no room for it, the result says so.
  bool HasRoom(int64_t width, int64_t height) {
    if (width < 1 || height < 1 || width > limits_.side || height > limits_.side) {
      Fail("it has " + std::to_string(width) + " by " + std::to_string(height) + " pixels",
           "make it at most " + std::to_string(limits_.side) + " pixels a side");
    } else if (count_ == limits_.pictures) {
      Fail("it has more than " + std::to_string(limits_.pictures) + " pictures", "make it shorter");
    } else if (width * height > limits_.pixels - pixels_) {
      Fail("with it the pictures have more than 32 million pixels", "make it smaller or shorter");
    }
    return file_.reason.empty();
  }

  void Take(const cv::Mat &picture) {
    ++count_;
    pixels_ += picture.size().area();
    take_(picture);
  }

  // The last picture's end, or the next one's beginning.
  void EndAt(int64_t milliseconds) {
    if (file_.ends_ms.size() == count_) return;
    constexpr int64_t kLatest = int64_t{1} << 40;  // of a damaged file's, 35 years
    file_.ends_ms.push_back(std::max(std::min(milliseconds, kLatest), LastEnd() + 1));
  }

  void Fail(std::string reason, std::string remedy) {
    file_.reason = std::move(reason);
    file_.remedy = std::move(remedy);
  }

  int64_t LastEnd() const { return file_.ends_ms.empty() ? 0 : file_.ends_ms.back(); }

  MovingFile Result() {
    if (file_.reason.empty() && count_ == 0) Fail("it is a broken picture", "save it again");
    return std::move(file_);
  }

 private:
  const MovingLimits &limits_;
  const TakePicture &take_;
  MovingFile file_;
  size_t count_ = 0;
  int64_t pixels_ = 0;
};

}  // namespace lumivex
