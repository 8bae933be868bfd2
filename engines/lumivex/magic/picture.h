// `Picture`: what a layer draws, and smaller copies of it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

namespace lumivex {

// Red, green, blue and alpha, 8 bits each, the colours multiplied by alpha. Never empty.
class Picture {
 public:
  // `pixels`: blue, green, red and alpha, CV_8UC4, not multiplied.
  explicit Picture(const cv::Mat &pixels);

  int Width() const { return levels_.front().cols; }
  int Height() const { return levels_.front().rows; }
  const cv::Rect &Seen() const { return seen_; }  // all that is not clear; empty where everything is
  // The copy to draw when `shrink` of its full size's pixels fall on one pixel of the frame.
  const cv::Mat &LevelFor(float shrink) const;

 private:
  std::vector<cv::Mat> levels_;  // each half the size of the one before
  cv::Rect seen_;
};

using PicturePointer = std::shared_ptr<const Picture>;

// Pixels that the pictures of one resource may still take. A share of it is no more than memory allows.
struct PixelBudget {
  int64_t left = int64_t{1} << 25;
};

struct PictureFile {
  PicturePointer picture;  // null: no good
  std::string reason;      // why, and what to do about it
  std::string remedy;
};

inline constexpr int64_t kMaxPictureSide = 4096;
inline constexpr uintmax_t kMaxPictureBytes = uintmax_t{1} << 26;

// Reads a PNG, JPEG or WebP file, whose size is known before it is decoded. Threads: any.
PictureFile ReadPicture(const std::filesystem::path &file, PixelBudget &budget);

// One line of UTF-8, transparent around it; what the fonts have not is '?'. Null for an empty one. `color`: red, green,
// blue. Threads: any.
PicturePointer DrawText(const std::string &text, const std::array<uint8_t, 3> &color);

}  // namespace lumivex
