#include "vision/cascade.h"

#include <algorithm>
#include <tuple>

namespace tessera {

bool Cascade::Load(const std::string &file) {
  return classifier_.load(file);
}

std::vector<VotedBox> Cascade::Find(const cv::Mat &picture, double step, int votes, int least, int most) {
  std::vector<cv::Rect> boxes;
  std::vector<int> counts;
  // Inside of a parallel loop OpenCV starts no other: the search stays on this thread, and leaves the number of
  // threads, which is the whole process's, alone.
  cv::parallel_for_(cv::Range(0, 1), [&](const cv::Range &) {
    classifier_.detectMultiScale(picture, boxes, counts, step, votes, 0, cv::Size(least, least), cv::Size(most, most));
  });
  std::vector<VotedBox> found;
  for (size_t i = 0; i < boxes.size(); ++i) found.push_back({boxes[i], counts[i]});
  // Where the search was spread over threads after all, it ends in their order.
  std::sort(found.begin(), found.end(), [](const VotedBox &a, const VotedBox &b) {
    return std::tie(b.votes, a.box.x, a.box.y, a.box.width) < std::tie(a.votes, b.box.x, b.box.y, b.box.width);
  });
  return found;
}

}  // namespace tessera
