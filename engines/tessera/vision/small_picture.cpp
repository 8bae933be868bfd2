#include "vision/small_picture.h"

#include <algorithm>
#include <mutex>
#include <opencv2/imgproc.hpp>
#include <utility>
#include <vector>

#include "vision/serially.h"

namespace tessera {
namespace {

constexpr size_t kMostFree = 16;  // as many as a search may hold: new memory costs more than all the rest

cv::Size SmallSize(cv::Size size) {
  const float scale = SmallPictureMaker::ScaleOf(size);
  return {std::max(1, cvRound(static_cast<float>(size.width) / scale)),
          std::max(1, cvRound(static_cast<float>(size.height) / scale))};
}

// Every pixel counts where it costs little: halves are means, the rest lies between two pixels.
void Shrink(const cv::Mat &plane, cv::Mat &half, cv::Mat &small, cv::Size size) {
  const cv::Mat *source = &plane;
  if (plane.cols >= 2 * size.width && plane.rows >= 2 * size.height) {
    cv::resize(plane(cv::Rect(0, 0, plane.cols / 2 * 2, plane.rows / 2 * 2)), half,
               cv::Size(plane.cols / 2, plane.rows / 2), 0, 0, cv::INTER_AREA);
    source = &half;
  }
  if (source->size() == size) {
    source->copyTo(small);
  } else {
    cv::resize(*source, small, size, 0, 0, cv::INTER_LINEAR);
  }
}

}  // namespace

// Guarded by its mutex. Nobody waits for that: who comes when it is held gets new memory, or frees the old.
struct SmallPictureMaker::Free {
  std::mutex mutex;
  std::vector<std::unique_ptr<SmallPicture>> pictures;

  std::unique_ptr<SmallPicture> Take() {
    const std::unique_lock<std::mutex> lock(mutex, std::try_to_lock);
    if (!lock || pictures.empty()) return std::make_unique<SmallPicture>();
    std::unique_ptr<SmallPicture> picture = std::move(pictures.back());
    pictures.pop_back();
    return picture;
  }
  void Give(std::unique_ptr<SmallPicture> picture) {
    const std::unique_lock<std::mutex> lock(mutex, std::try_to_lock);
    if (lock && pictures.size() < kMostFree) pictures.push_back(std::move(picture));
  }
};

SmallPictureMaker::SmallPictureMaker() : free_(std::make_shared<Free>()) {
  free_->pictures.reserve(kMostFree);
}

float SmallPictureMaker::ScaleOf(cv::Size size) {
  return std::max(1.0F, static_cast<float>(std::max(size.width, size.height)) / static_cast<float>(kLongestSide));
}

std::shared_ptr<SmallPicture> SmallPictureMaker::Make(const PictureView &picture) {
  const std::shared_ptr<Free> free = free_;
  std::shared_ptr<SmallPicture> made(free->Take().release(),
                                     [free](SmallPicture *old) { free->Give(std::unique_ptr<SmallPicture>(old)); });
  const cv::Size size = SmallSize(picture.y.size());
  const cv::Size chroma((size.width + 1) / 2, (size.height + 1) / 2);
  Serially([&] {
    Shrink(picture.y, half_, made->view.y, size);
    for (const auto &[from, to] : {std::pair(&picture.u, &made->view.u), std::pair(&picture.v, &made->view.v)}) {
      if (from->empty()) {
        to->release();
      } else {
        cv::resize(*from, *to, chroma, 0, 0, cv::INTER_LINEAR);
      }
    }
  });
  return made;
}

}  // namespace tessera
