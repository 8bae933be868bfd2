#include "vision/cascade.h"

#include <algorithm>
#include <cmath>
#include <fstream>
#include <iterator>
#include <tuple>

#include "vanta_base/utf8_path.h"
#include "vision/serially.h"

namespace tessera {
namespace {

void Sort(std::vector<VotedBox> &boxes) {
  std::sort(boxes.begin(), boxes.end(), [](const VotedBox &a, const VotedBox &b) {
    return std::tie(b.votes, a.box.x, a.box.y, a.box.width) < std::tie(a.votes, b.box.x, b.box.y, b.box.width);
  });
}

// Windows around one place: sums of what they are.
struct Group {
  double x = 0;  // of the middle
  double y = 0;
  double width = 0;
  int votes = 0;

  bool Holds(const cv::Rect &box) const {
    const double mean = width / votes;
    const double apart = std::hypot(x / votes - (box.x + 0.5 * box.width), y / votes - (box.y + 0.5 * box.height));
    return apart < 0.35 * mean && box.width < 1.5 * mean && mean < 1.5 * box.width;
  }
  void Add(const cv::Rect &box) {
    x += box.x + 0.5 * box.width;
    y += box.y + 0.5 * box.height;
    width += box.width;
    ++votes;
  }
  VotedBox Mean() const {
    const int side = cvRound(width / votes);
    return {cv::Rect(cvRound(x / votes - 0.5 * side), cvRound(y / votes - 0.5 * side), side, side), votes};
  }
};

}  // namespace

bool Cascade::Load(const std::string &file) {
  // Read here, since OpenCV opens no name on Windows that is not in the code page.
  std::ifstream stream(vanta::PathFromUtf8(file), std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (text.empty()) return false;
  const cv::FileStorage storage(text, cv::FileStorage::READ | cv::FileStorage::MEMORY);
  return storage.isOpened() && classifier_.read(storage.getFirstTopLevelNode());
}

std::vector<VotedBox> Cascade::Find(const cv::Mat &picture, double step, int votes, int least, int most) {
  std::vector<cv::Rect> boxes;
  std::vector<int> counts;
  Serially([&] {
    classifier_.detectMultiScale(picture, boxes, counts, step, votes, 0, cv::Size(least, least), cv::Size(most, most));
  });
  std::vector<VotedBox> found;
  for (size_t i = 0; i < boxes.size(); ++i) found.push_back({boxes[i], counts[i]});
  // Where the search was spread over threads after all, it ends in their order.
  Sort(found);
  return found;
}

std::vector<VotedBox> Cascade::FindAny(const cv::Mat &picture, double step, int least) {
  std::vector<cv::Rect> windows;
  Serially([&] { classifier_.detectMultiScale(picture, windows, step, 0, 0, cv::Size(least, least)); });
  std::sort(windows.begin(), windows.end(), [](const cv::Rect &a, const cv::Rect &b) {
    return std::tie(a.width, a.y, a.x) < std::tie(b.width, b.y, b.x);
  });
  std::vector<Group> groups;
  for (const cv::Rect &window : windows) {
    const auto group = std::find_if(groups.begin(), groups.end(), [&](const Group &g) { return g.Holds(window); });
    if (group != groups.end()) {
      group->Add(window);
    } else {
      groups.emplace_back().Add(window);
    }
  }
  std::vector<VotedBox> found;
  for (const Group &group : groups) found.push_back(group.Mean());
  Sort(found);
  return found;
}

}  // namespace tessera
