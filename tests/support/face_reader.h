// The open runner as a client of it sees it: pictures in, faces out.
#pragma once

#include <memory>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "landmark/tessera_api.h"
#include "support/portrait.h"

namespace vanta_test {

struct ReadFace {
  std::vector<cv::Point2f> points;  // in the published order
  cv::Rect2f box;
};

// Owns: a runner. Threads: one at a time.
class FaceReader {
 public:
  explicit FaceReader(int max_faces = 1, const std::string &model_folder = "");

  int init_result() const { return init_result_; }
  // Null when the runner left its result so.
  std::shared_ptr<tessera::Any> RunTree(PortraitPicture &picture);
  std::shared_ptr<tessera::Any> RunTree(std::shared_ptr<tessera::TesseraImage> image);
  std::vector<ReadFace> Run(PortraitPicture &picture);

 private:
  std::shared_ptr<tessera::TesseraRunner> runner_;
  int init_result_ = -1;
};

// Distance of each marked point from its mark, as a part of the distance between the eyes.
std::array<float, kMarks> MarkErrors(const ReadFace &face, const PortraitPicture &picture);

// Distance of each mark of the jaw from the face's contour, likewise.
std::array<float, kJawMarks> JawErrors(const ReadFace &face, const PortraitPicture &picture);

}  // namespace vanta_test
