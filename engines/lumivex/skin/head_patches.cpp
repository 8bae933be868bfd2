#include "skin/head_patches.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lumivex {
namespace {

constexpr float kRowsOfBlocks = 90.0f;
constexpr float kSkin = 100.0f;  // mean weight of a block
constexpr int kLeastBlocks = 40;
constexpr float kStep = 0.18f;  // of the lighter one's luma
constexpr float kStepInBlack = 1.0f;
constexpr float kMostOfPicture = 0.4f;
// A head's skin, with the neck's and with fair hair: squares of the distance between the eyes of somebody in view.
constexpr float kLeastOfEyes = 0.6f;
constexpr float kMostOfEyes = 40.0f;
constexpr float kLeastFilled = 0.4f;  // of the patch's box
constexpr float kWidest = 2.2f;       // sides of the box
constexpr float kHighest = 3.2f;
constexpr float kAround = 0.2f;        // of the side of a square as large as the patch: the window's half side
constexpr float kLeastAround = 0.25f;  // of the window, that skin fills
constexpr float kDarkFeature = 0.18f;  // parts of the skin around
constexpr float kLightFeature = 0.24f;
constexpr float kFormerHead = 0.75f;     // of those, where a head was
constexpr float kLeastFeature = 0.003f;  // parts of the patch
constexpr float kMostFeature = 0.16f;
constexpr float kLeastFeatures = 0.012f;  // all of them
constexpr float kMostFeatures = 0.4f;
constexpr float kLine = 0.7f;  // of a side of the box: what is longer is a line
constexpr int kEyesAndMouth = 2;

}  // namespace

void HeadPatches::Find(const cv::Mat &weight, const cv::Mat &luma, float black, float eyes) {
  Shrink(weight, luma, black);
  std::swap(block_kinds_, former_kinds_);
  former_kinds_.resize(skin_.size(), kNothing);
  block_kinds_.assign(skin_.size(), kNothing);
  gathered_.assign(skin_.size(), uint8_t{0});
  heads_ = 0;
  for (size_t i = 0; i < skin_.size(); ++i) {
    if (skin_[i] == 0 || gathered_[i] != 0) continue;
    GatherPatch(static_cast<int>(i));
    const Kind kind = LookInto(eyes / static_cast<float>(side_));
    if (kind == kNothing) continue;
    for (const int block : patch_) block_kinds_[static_cast<size_t>(block)] = kind;
    if (kind >= kFirstHead) TakeInEnclosed(kind);
  }
  SpreadToCells(weight.size());
}

void HeadPatches::Forget() {
  former_kinds_.clear();
  block_kinds_.clear();
  heads_ = 0;
}

void HeadPatches::Shrink(const cv::Mat &weight, const cv::Mat &luma, float black) {
  const int side = std::max(static_cast<int>(std::lround(static_cast<float>(weight.rows) / kRowsOfBlocks)), 1);
  const int rows = (weight.rows + side - 1) / side;
  const int columns = (weight.cols + side - 1) / side;
  if (side != side_ || rows != rows_ || columns != columns_) Forget();
  side_ = side;
  rows_ = rows;
  columns_ = columns;
  const size_t blocks = static_cast<size_t>(rows) * static_cast<size_t>(columns);
  luma_.assign(blocks, 0.0f);
  skin_.assign(blocks, uint8_t{0});
  for (int y = 0; y < rows; ++y) {
    const int last = std::min((y + 1) * side, weight.rows);
    for (int x = 0; x < columns; ++x) {
      const int end = std::min((x + 1) * side, weight.cols);
      float light = 0.0f;
      int skin = 0;
      int count = 0;
      for (int row = y * side; row < last; ++row) {
        for (int column = x * side; column < end; ++column, ++count) {
          light += luma.at<float>(row, column) - black;
          skin += weight.at<uint8_t>(row, column);
        }
      }
      const size_t block = static_cast<size_t>(y) * static_cast<size_t>(columns) + static_cast<size_t>(x);
      luma_[block] = std::max(light / static_cast<float>(count), 0.0f);
      skin_[block] = static_cast<float>(skin) >= kSkin * static_cast<float>(count);
    }
  }
}

// All blocks that hang together with the first one by their sides, without a step of light between them.
void HeadPatches::GatherPatch(int first) {
  patch_.assign(1, first);
  gathered_[static_cast<size_t>(first)] = 1;
  box_ = {columns_, rows_, 0, 0};
  for (size_t i = 0; i < patch_.size(); ++i) {
    const int block = patch_[i];
    const int x = block % columns_;
    const int y = block / columns_;
    box_ = {std::min(box_.left, x), std::min(box_.top, y), std::max(box_.right, x + 1), std::max(box_.bottom, y + 1)};
    const auto take = [&](int beside) {
      const auto at = static_cast<size_t>(beside);
      if (skin_[at] == 0 || gathered_[at] != 0) return;
      const float lighter = std::max(luma_[at], luma_[static_cast<size_t>(block)]);
      if (std::fabs(luma_[at] - luma_[static_cast<size_t>(block)]) > kStep * lighter + kStepInBlack) return;
      gathered_[at] = 1;
      patch_.push_back(beside);
    };
    if (x > 0) take(block - 1);
    if (x + 1 < columns_) take(block + 1);
    if (y > 0) take(block - columns_);
    if (y + 1 < rows_) take(block + columns_);
  }
}

bool HeadPatches::IsOfAHeadsSize(float eyes) const {
  const auto blocks = static_cast<float>(patch_.size());
  if (blocks > kMostOfPicture * static_cast<float>(skin_.size())) return false;
  if (eyes > 0.0f && (blocks < kLeastOfEyes * eyes * eyes || blocks > kMostOfEyes * eyes * eyes)) return false;
  const auto width = static_cast<float>(box_.Width());
  const auto height = static_cast<float>(box_.Height());
  return width <= kWidest * height && height <= kHighest * width;
}

HeadPatches::Kind HeadPatches::LookInto(float eyes) {
  if (patch_.size() < static_cast<size_t>(kLeastBlocks)) return kNothing;
  MeasurePatch();
  const auto was_head = std::count_if(patch_.begin(), patch_.end(), [this](int block) {
    return former_kinds_[static_cast<size_t>(block)] >= kFirstHead;
  });
  MarkFeatures(2 * static_cast<size_t>(was_head) > patch_.size() ? kFormerHead : 1.0f);
  int blocks = 0;
  const int features = CountFeatures(blocks);
  if (features == 0) return kPlain;
  const auto area = static_cast<float>(patch_.size());
  const auto filled =
      static_cast<float>(std::count_if(enclosed_.begin(), enclosed_.end(), [](uint8_t e) { return e != 0; }));
  const bool head = features >= kEyesAndMouth && static_cast<float>(blocks) >= kLeastFeatures * area &&
                    static_cast<float>(blocks) <= kMostFeatures * area && IsOfAHeadsSize(eyes) &&
                    filled >= kLeastFilled * static_cast<float>(box_.Width() * box_.Height()) && heads_ < kMostHeads;
  if (!head) return kUnclear;
  return static_cast<Kind>(kFirstHead + heads_++);
}

// Eyes and spots lie within, with the skin beside them.
void HeadPatches::TakeInEnclosed(Kind head) {
  for (int y = 0; y < box_.Height(); ++y) {
    for (int x = 0; x < box_.Width(); ++x) {
      uint8_t &kind = block_kinds_[static_cast<size_t>((box_.top + y) * columns_ + box_.left + x)];
      if (enclosed_[static_cast<size_t>(y * box_.Width() + x)] != 0 && kind == kNothing) kind = head;
    }
  }
}

void HeadPatches::MeasurePatch() {
  const int width = box_.Width();
  const int height = box_.Height();
  const auto at = [width](int x, int y) {
    return static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
  };
  inside_.assign(at(0, height), uint8_t{0});
  for (const int block : patch_) inside_[at(block % columns_ - box_.left, block / columns_ - box_.top)] = 1;
  enclosed_.assign(inside_.size(), uint8_t{0});
  for (int y = 0; y < height; ++y) {
    int first = 0;
    int last = width - 1;
    while (first < width && inside_[at(first, y)] == 0) ++first;
    while (last > first && inside_[at(last, y)] == 0) --last;
    for (int x = first; x <= last && x < width; ++x) enclosed_[at(x, y)] = 1;
  }
  for (int x = 0; x < width; ++x) {
    int first = 0;
    int last = height - 1;
    while (first < height && inside_[at(x, first)] == 0) ++first;
    while (last > first && inside_[at(x, last)] == 0) --last;
    for (int y = 0; y < height; ++y) {
      uint8_t &here = enclosed_[at(x, y)];
      here = here == 1 && y >= first && y <= last;
    }
  }
  const auto sum_at = [width](int x, int y) {
    return static_cast<size_t>(y) * static_cast<size_t>(width + 1) + static_cast<size_t>(x);
  };
  sums_.assign(sum_at(0, height + 1), 0.0f);
  counts_.assign(sums_.size(), 0.0f);
  for (int y = 0; y < height; ++y) {
    float sum = 0.0f;
    float count = 0.0f;
    for (int x = 0; x < width; ++x) {
      if (inside_[at(x, y)]) {
        sum += luma_[static_cast<size_t>((box_.top + y) * columns_ + box_.left + x)];
        count += 1.0f;
      }
      sums_[sum_at(x + 1, y + 1)] = sums_[sum_at(x + 1, y)] + sum;
      counts_[sum_at(x + 1, y + 1)] = counts_[sum_at(x + 1, y)] + count;
    }
  }
}

// Enclosed blocks that are darker or lighter than the patch around them, by `least` of the usual parts.
void HeadPatches::MarkFeatures(float least) {
  const int width = box_.Width();
  const int height = box_.Height();
  const int half = std::max(static_cast<int>(std::lround(kAround * std::sqrt(static_cast<float>(patch_.size())))), 2);
  features_.assign(inside_.size(), uint8_t{0});
  for (int y = 0; y < height; ++y) {
    const int top = std::max(y - half, 0);
    const int bottom = std::min(y + half + 1, height);
    for (int x = 0; x < width; ++x) {
      const size_t here = static_cast<size_t>(y) * static_cast<size_t>(width) + static_cast<size_t>(x);
      if (enclosed_[here] == 0) continue;
      const int left = std::max(x - half, 0);
      const int right = std::min(x + half + 1, width);
      const auto over_window = [&](const std::vector<float> &sums) {
        const auto at = [&](int column, int row) {
          return sums[static_cast<size_t>(row) * static_cast<size_t>(width + 1) + static_cast<size_t>(column)];
        };
        return at(right, bottom) - at(left, bottom) - at(right, top) + at(left, top);
      };
      const float count = over_window(counts_);
      if (count < kLeastAround * static_cast<float>((right - left) * (bottom - top))) continue;
      const float around = over_window(sums_) / count;
      const float luma = luma_[static_cast<size_t>((box_.top + y) * columns_ + box_.left + x)];
      features_[here] = luma < (1.0f - least * kDarkFeature) * around || luma > (1.0f + least * kLightFeature) * around;
    }
  }
}

// Those that are neither specks nor lines nor as large as half a face; `blocks` is how large they are together.
int HeadPatches::CountFeatures(int &blocks) {
  const int width = box_.Width();
  const int height = box_.Height();
  const auto area = static_cast<float>(patch_.size());
  int count = 0;
  blocks = 0;
  for (size_t first = 0; first < features_.size(); ++first) {
    if (features_[first] != 1) continue;
    stack_.assign(1, static_cast<int>(first));
    features_[first] = 2;
    Box box{width, height, 0, 0};
    for (size_t i = 0; i < stack_.size(); ++i) {
      const int x = stack_[i] % width;
      const int y = stack_[i] / width;
      box = {std::min(box.left, x), std::min(box.top, y), std::max(box.right, x + 1), std::max(box.bottom, y + 1)};
      for (int row = std::max(y - 1, 0); row <= std::min(y + 1, height - 1); ++row) {
        for (int column = std::max(x - 1, 0); column <= std::min(x + 1, width - 1); ++column) {
          const int beside = row * width + column;
          if (features_[static_cast<size_t>(beside)] != 1) continue;
          features_[static_cast<size_t>(beside)] = 2;
          stack_.push_back(beside);
        }
      }
    }
    const auto size = static_cast<float>(stack_.size());
    if (size < kLeastFeature * area || size > kMostFeature * area) continue;
    if (static_cast<float>(box.Width()) > kLine * static_cast<float>(width)) continue;
    if (static_cast<float>(box.Height()) > kLine * static_cast<float>(height)) continue;
    ++count;
    blocks += static_cast<int>(stack_.size());
  }
  return count;
}

// A patch's edge takes in the blocks beside it, which hold some skin, too.
void HeadPatches::SpreadToCells(const cv::Size &cells) {
  kinds_.create(cells, CV_8U);
  for (int y = 0; y < rows_; ++y) {
    const int first_row = y * side_;
    const int end_row = std::min(first_row + side_, cells.height);
    uint8_t *kinds = kinds_.ptr<uint8_t>(first_row);
    for (int x = 0; x < columns_; ++x) {
      uint8_t kind = block_kinds_[static_cast<size_t>(y * columns_ + x)];
      for (int row = std::max(y - 1, 0); kind == kNothing && row <= std::min(y + 1, rows_ - 1); ++row) {
        for (int column = std::max(x - 1, 0); column <= std::min(x + 1, columns_ - 1); ++column)
          kind = std::max(kind, block_kinds_[static_cast<size_t>(row * columns_ + column)]);
      }
      const int end_column = std::min((x + 1) * side_, cells.width);
      for (int column = x * side_; column < end_column; ++column) kinds[column] = kind;
    }
    for (int row = first_row + 1; row < end_row; ++row) std::copy_n(kinds, cells.width, kinds_.ptr<uint8_t>(row));
  }
}

}  // namespace lumivex
