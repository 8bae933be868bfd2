// One of OpenCV's cascades, always with the same answer to the same picture.
#pragma once

#include <opencv2/objdetect.hpp>
#include <string>
#include <vector>

namespace tessera {

struct VotedBox {
  cv::Rect box;
  int votes = 0;  // how many windows agreed
};

// Threads: one at a time for each object.
class Cascade {
 public:
  // Without a name there is none. What is wrong with the file, in a line for the log: then there is none, either.
  // Empty: nothing is.
  std::string Load(const std::string &file);
  // The same for what such a file holds.
  std::string Read(const std::string &text);
  bool empty() const { return classifier_.empty(); }

  // Boxes from `least` to `most` pixels wide (0: as large as the picture), each size `step` times the one before,
  // where more than `votes` windows agree; in a fixed order. On the calling thread alone.
  std::vector<VotedBox> Find(const cv::Mat &picture, double step, int votes, int least, int most = 0);
  // As Find, but a single window counts, too: more faces, and more of what is none. Those with the most votes first.
  std::vector<VotedBox> FindAny(const cv::Mat &picture, double step, int least);

 private:
  cv::CascadeClassifier classifier_;
};

}  // namespace tessera
