// `Picture`: what a layer draws, and smaller copies of it.
#pragma once

#include <array>
#include <atomic>
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

// Pictures that follow each other.
struct Pictures {
  bool Empty() const { return list.empty(); }
  // The one to show so long after the first one's beginning, from 0 on. `fps` counts where the pictures have no times.
  const PicturePointer &At(int64_t milliseconds, double fps, bool loop) const;

  std::vector<PicturePointer> list;  // none is null
  std::vector<int64_t> ends_ms;      // of a file that has its own times: when each picture ends, rising; else empty
};

// Pixels that the pictures of one resource may still take. A share of it is no more than memory allows.
struct PixelBudget {
  int64_t left = int64_t{1} << 25;
};

struct PictureFile {
  PicturePointer picture;  // null: no good
  std::string reason;      // why, and what to do about it
  std::string remedy;
};

struct PicturesFile {
  Pictures pictures;   // empty: no good
  std::string reason;  // why, and what to do about it
  std::string remedy;
};

inline constexpr int64_t kMaxPictureSide = 4096;
inline constexpr uintmax_t kMaxPictureBytes = uintmax_t{1} << 26;

inline constexpr size_t kMaxMovingPictures = 1024;

// Reads a PNG, JPEG or WebP file, whose size is known before it is decoded; of an animated one the first picture.
// Threads: any.
PictureFile ReadPicture(const std::filesystem::path &file, PixelBudget &budget);
// Such a file, or an animated one or a video with all of its pictures. Stops early, with nothing, once `cancelled` is
// set. Threads: any.
PicturesFile ReadPictures(const std::filesystem::path &file, PixelBudget &budget, const std::atomic<bool> &cancelled);

// One line of UTF-8, transparent around it; what the fonts have not is '?'. Null for an empty one. `color`: red, green,
// blue. Threads: any.
PicturePointer DrawText(const std::string &text, const std::array<uint8_t, 3> &color);

}  // namespace lumivex
