#include "vision/cascade.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <tuple>

#include "vanta_base/utf8_path.h"
#include "vision/cascade_check.h"
#include "vision/serially.h"

namespace tessera {
namespace {

constexpr uintmax_t kMostBytes = 32 << 20;  // OpenCV's largest has 3 MB
constexpr size_t kMostReason = 200;

// Read here, since OpenCV opens no name on Windows that is not in the code page.
std::string ReadText(const std::string &file) {
  const std::filesystem::path path = vanta::PathFromUtf8(file);
  std::error_code error;
  const uintmax_t size = std::filesystem::file_size(path, error);
  if (error) throw std::runtime_error("it cannot be read");
  if (size > kMostBytes) throw std::runtime_error("it is larger than 32 MB");
  std::string text(static_cast<size_t>(size), ' ');
  std::ifstream stream(path, std::ios::binary);
  if (!stream.read(text.data(), static_cast<std::streamsize>(size))) throw std::runtime_error("it cannot be read");
  return text;
}

// Its parser's reasons have several lines, and may quote the file.
std::string OneLine(std::string text) {
  text.resize(std::min(text.size(), kMostReason));
  std::replace_if(
      text.begin(), text.end(), [](unsigned char letter) { return letter < ' ' || letter > '~'; }, ' ');
  while (!text.empty() && text.back() == ' ') text.pop_back();
  return text;
}

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

std::string Cascade::Load(const std::string &file) {
  classifier_ = {};
  if (file.empty()) return {};
  try {
    return Read(ReadText(file));
  } catch (const std::exception &error) {
    return error.what();
  }
}

std::string Cascade::Read(const std::string &text) {
  classifier_ = {};
  try {
    RequireFlatXml(text);
    const cv::FileStorage storage(text, cv::FileStorage::READ | cv::FileStorage::MEMORY);
    const cv::FileNode root = storage.getFirstTopLevelNode();
    RequireSoundCascade(root);
    return classifier_.read(root) ? "" : "OpenCV does not read it";
  } catch (const cv::Exception &error) {
    return "OpenCV: " + OneLine(error.err);
  } catch (const std::exception &error) {
    return error.what();
  }
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
