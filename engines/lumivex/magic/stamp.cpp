#include "magic/stamp.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace lumivex {
namespace {

constexpr int kFraction = 14;  // bits

// Exact for products of two bytes.
int Div255(int value) {
  return (value + 128 + ((value + 128) >> 8)) >> 8;
}

uint8_t Over(int below, int above, int alpha) {
  return static_cast<uint8_t>(std::min(above + Div255(below * (255 - alpha)), 255));
}

float Dot(FramePoint a, FramePoint b) {
  return a.x * b.x + a.y * b.y;
}

float Length(FramePoint way) {
  return std::sqrt(Dot(way, way));
}

// Along one axis of the picture: from a place on the frame to the picture's pixels.
struct Axis {
  // `size` in the picture's pixels.
  Axis(FramePoint along, FramePoint other, FramePoint center, int size) {
    // Whatever lies on the other axis counts as nothing.
    const float area = along.x * other.y - along.y * other.x;
    const auto pixels = static_cast<float>(size);
    x = other.y / area * pixels;
    y = -other.x / area * pixels;
    start = pixels / 2.0f - x * center.x - y * center.y;
    reach = Length(along) / pixels;
    last = size - 1;
  }

  float At(float frame_x, float frame_y) const { return start + x * frame_x + y * frame_y; }
  // How far inside the picture, as the part of a frame's pixel that it covers.
  float Coverage(float place) const {
    const float inside = std::min(place, static_cast<float>(last + 1) - place) * reach + 0.5f;
    return std::clamp(inside, 0.0f, 1.0f);
  }

  float x;  // the picture's pixels for each of the frame's
  float y;
  float start;  // at the frame's corner
  float reach;  // frame pixels for each of the picture's
  int last;
};

struct Neighbours {
  Neighbours(float place, int last) {
    const float from_middle = std::clamp(place - 0.5f, 0.0f, static_cast<float>(last));
    first = static_cast<int>(from_middle);
    second = std::min(first + 1, last);
    weight = static_cast<uint32_t>((from_middle - static_cast<float>(first)) * 256.0f);
  }

  int first;
  int second;
  uint32_t weight;  // of the second, in 256ths
};

uint32_t PixelAt(const cv::Mat &level, int row, int column) {
  uint32_t pixel;
  std::memcpy(&pixel, level.ptr<uint8_t>(row) + ptrdiff_t{4} * column, sizeof(pixel));
  return pixel;
}

// Of all four bytes; `weight` is b's, in 256ths.
uint32_t Mixed(uint32_t a, uint32_t b, uint32_t weight) {
  constexpr uint32_t kEven = 0x00FF00FF;
  constexpr uint32_t kHalf = 0x00800080;
  const uint32_t even = ((a & kEven) * (256 - weight) + (b & kEven) * weight + kHalf) >> 8;
  const uint32_t odd = (a >> 8 & kEven) * (256 - weight) + (b >> 8 & kEven) * weight + kHalf;
  return (even & kEven) | (odd & ~kEven);
}

uint32_t Sample(const cv::Mat &level, const Neighbours &columns, const Neighbours &rows) {
  const uint32_t a = PixelAt(level, rows.first, columns.first);
  const uint32_t b = PixelAt(level, rows.first, columns.second);
  const uint32_t c = PixelAt(level, rows.second, columns.first);
  const uint32_t d = PixelAt(level, rows.second, columns.second);
  if ((a | b | c | d) == 0) return 0;  // most of most pictures
  return Mixed(Mixed(a, b, columns.weight), Mixed(c, d, columns.weight), rows.weight);
}

}  // namespace

// Luma and chroma codes, multiplied by alpha, are sums of red, green, blue and alpha that are multiplied by it, too.
struct Stamp::CodeWeights {
  explicit CodeWeights(const YuvSpace &space) {
    const std::array<float, 3> black = FromRgb(space, {0.0f, 0.0f, 0.0f});
    for (size_t color = 0; color < 3; ++color) {
      Rgb pure = {0.0f, 0.0f, 0.0f};
      pure[color] = 1.0f;
      const std::array<float, 3> codes = FromRgb(space, pure);
      for (size_t i = 0; i < 3; ++i) rows[i][color] = Fixed((codes[i] - black[i]) / 255.0f);
    }
    for (size_t i = 0; i < 3; ++i) rows[i][3] = Fixed(black[i] / 255.0f);
  }

  static int Fixed(float value) { return static_cast<int>(std::lround(value * (1 << kFraction))); }

  int Code(size_t which, const int *rgba) const {
    const auto &row = rows[which];
    const int sum = row[0] * rgba[0] + row[1] * rgba[1] + row[2] * rgba[2] + row[3] * rgba[3];
    return std::clamp((sum + (1 << (kFraction - 1))) >> kFraction, 0, 255);
  }

  std::array<std::array<int, 4>, 3> rows;
};

void Stamp::Make(const PicturePointer &picture, const Placement &placement, float opacity, const YuvSpace &space,
                 int width, int height, const RowBands &bands) {
  Look look{picture, placement, opacity, space, width, height};
  if (look == look_) return;
  look_ = std::move(look);
  Cover();
  if (columns_ > 0) Fill(bands);
}

void Stamp::Cover() {
  columns_ = 0;
  rows_ = 0;
  const Placement &place = look_.placement;
  const float area = place.across.x * place.down.y - place.across.y * place.down.x;
  const cv::Rect &seen = look_.picture->Seen();
  if (look_.opacity <= 0.0f || seen.empty() || !std::isfinite(area) || std::fabs(area) < 1.0f) return;
  // Of the seen part alone, and of what a pixel of a smaller copy reaches beyond it.
  const float shrink = Shrink();
  const auto part = [shrink](int first, int count, int all, float &middle) {
    const float margin = 2.0f * std::max(shrink, 1.0f) + 1.0f;
    const float begin = std::max(static_cast<float>(first) - margin, 0.0f) / static_cast<float>(all);
    const float end =
        std::min(static_cast<float>(first + count) + margin, static_cast<float>(all)) / static_cast<float>(all);
    middle = (begin + end) / 2.0f - 0.5f;
    return end - begin;
  };
  float right = 0.0f;
  float below = 0.0f;
  const float wide = part(seen.x, seen.width, look_.picture->Width(), right);
  const float high = part(seen.y, seen.height, look_.picture->Height(), below);
  const FramePoint middle{place.center.x + right * place.across.x + below * place.down.x,
                          place.center.y + right * place.across.y + below * place.down.y};
  const float half_x = (wide * std::fabs(place.across.x) + high * std::fabs(place.down.x)) / 2.0f + 1.0f;
  const float half_y = (wide * std::fabs(place.across.y) + high * std::fabs(place.down.y)) / 2.0f + 1.0f;
  const auto width = static_cast<float>(look_.width);
  const auto height = static_cast<float>(look_.height);
  // The comparisons are false for what is no number.
  if (!(middle.x - half_x < width && middle.x + half_x > 0.0f && middle.y - half_y < height &&
        middle.y + half_y > 0.0f))
    return;
  left_ = static_cast<int>(std::max(middle.x - half_x, 0.0f)) & ~1;
  top_ = static_cast<int>(std::max(middle.y - half_y, 0.0f)) & ~1;
  columns_ = static_cast<int>(std::ceil(std::min(middle.x + half_x, width))) - left_;
  rows_ = static_cast<int>(std::ceil(std::min(middle.y + half_y, height))) - top_;
  // Chroma pairs are covered whole; at an odd frame's edge they have one pixel.
  columns_ = std::min(columns_ + columns_ % 2, look_.width - left_);
  rows_ = std::min(rows_ + rows_ % 2, look_.height - top_);
}

// Pixels of the whole picture that fall on one of the frame.
float Stamp::Shrink() const {
  return std::max(static_cast<float>(look_.picture->Width()) / Length(look_.placement.across),
                  static_cast<float>(look_.picture->Height()) / Length(look_.placement.down));
}

void Stamp::Fill(const RowBands &bands) {
  const auto pixels = static_cast<size_t>(columns_) * static_cast<size_t>(rows_);
  const auto pairs = static_cast<size_t>((columns_ + 1) / 2) * static_cast<size_t>((rows_ + 1) / 2);
  luma_.resize(pixels);
  luma_alpha_.resize(pixels);
  chroma_.resize(2 * pairs);
  chroma_alpha_.resize(2 * pairs);
  samples_.resize(static_cast<size_t>(bands.Threads()));
  for (auto &samples : samples_) samples.resize(size_t{8} * static_cast<size_t>(columns_));
  const cv::Mat &level = look_.picture->LevelFor(Shrink());
  const CodeWeights weights(look_.space);
  bands.Run(rows_, RowBands::kRows, [&](int first, int end, int thread) {
    uint8_t *samples = samples_[static_cast<size_t>(thread)].data();
    for (int row = first; row < end; row += 2) {
      const int luma_rows = std::min(end - row, 2);
      for (int i = 0; i < luma_rows; ++i) {
        uint8_t *rgba = samples + static_cast<ptrdiff_t>(i) * 4 * columns_;
        SampleRow(level, row + i, rgba);
        FillLuma(weights, row + i, rgba);
      }
      FillChroma(weights, row / 2, luma_rows, samples);
    }
  });
}

void Stamp::SampleRow(const cv::Mat &level, int row, uint8_t *rgba) const {
  const Placement &place = look_.placement;
  const Axis across(place.across, place.down, place.center, level.cols);
  const Axis down(place.down, place.across, place.center, level.rows);
  const float y = static_cast<float>(top_ + row) + 0.5f;
  const float opacity = look_.opacity * 256.0f;
  for (int i = 0; i < columns_; ++i, rgba += 4) {
    const float x = static_cast<float>(left_ + i) + 0.5f;
    const float u = across.At(x, y);
    const float v = down.At(x, y);
    const float covered = across.Coverage(u) * down.Coverage(v);
    uint32_t pixel = 0;
    if (covered > 0.0f) pixel = Sample(level, Neighbours(u, across.last), Neighbours(v, down.last));
    const auto part = static_cast<uint32_t>(covered * opacity + 0.5f);
    if (part != 256) pixel = Mixed(0, pixel, part);
    std::memcpy(rgba, &pixel, sizeof(pixel));
  }
}

void Stamp::FillLuma(const CodeWeights &weights, int row, const uint8_t *rgba) {
  const size_t start = static_cast<size_t>(row) * static_cast<size_t>(columns_);
  for (int i = 0; i < columns_; ++i, rgba += 4) {
    const size_t at = start + static_cast<size_t>(i);
    luma_alpha_[at] = rgba[3];
    luma_[at] = 0;
    if (rgba[3] == 0) continue;
    const int sample[4] = {rgba[0], rgba[1], rgba[2], rgba[3]};
    luma_[at] = static_cast<uint8_t>(weights.Code(0, sample));
  }
}

// The mean of the luma pixels that a pair stands for.
void Stamp::FillChroma(const CodeWeights &weights, int chroma_row, int luma_rows, const uint8_t *samples) {
  const int pairs = (columns_ + 1) / 2;
  const size_t start = static_cast<size_t>(chroma_row) * static_cast<size_t>(pairs) * 2;
  for (int pair = 0; pair < pairs; ++pair) {
    const int first = 2 * pair;
    const int last = std::min(first + 1, columns_ - 1);
    int mean[4] = {};
    const int count = luma_rows * (last - first + 1);
    for (int row = 0; row < luma_rows; ++row) {
      for (int x = first; x <= last; ++x) {
        const uint8_t *rgba = samples + static_cast<ptrdiff_t>(4) * (row * columns_ + x);
        for (int c = 0; c < 4; ++c) mean[c] += rgba[c];
      }
    }
    for (int &value : mean) value = (value + count / 2) / count;
    const size_t at = start + 2 * static_cast<size_t>(pair);
    for (size_t i = 0; i < 2; ++i) {
      chroma_[at + i] = mean[3] == 0 ? uint8_t{0} : static_cast<uint8_t>(weights.Code(1 + i, mean));
      chroma_alpha_[at + i] = static_cast<uint8_t>(mean[3]);
    }
  }
}

void Stamp::Blend(const Nv12View &view, const RowBands &bands) const {
  if (columns_ == 0 || view.width != look_.width || view.height != look_.height) return;
  bands.Run(rows_, RowBands::kRows, [&](int first, int end, int) {
    BlendLuma(view, {first, end});
    BlendChroma(view, {first / 2, (end + 1) / 2});
  });
}

void Stamp::BlendLuma(const Nv12View &view, const cv::Range &rows) const {
  for (int row = rows.start; row < rows.end; ++row) {
    const size_t start = static_cast<size_t>(row) * static_cast<size_t>(columns_);
    const uint8_t *above = luma_.data() + start;
    const uint8_t *alpha = luma_alpha_.data() + start;
    uint8_t *below = view.YRow(top_ + row) + left_;
    for (int x = 0; x < columns_; ++x) below[x] = Over(below[x], above[x], alpha[x]);
  }
}

// Rows of chroma.
void Stamp::BlendChroma(const Nv12View &view, const cv::Range &rows) const {
  const int bytes = (columns_ + 1) / 2 * 2;
  for (int row = rows.start; row < rows.end; ++row) {
    const size_t start = static_cast<size_t>(row) * static_cast<size_t>(bytes);
    const uint8_t *above = chroma_.data() + start;
    const uint8_t *alpha = chroma_alpha_.data() + start;
    uint8_t *below = view.UvRow(top_ / 2 + row) + left_;
    for (int x = 0; x < bytes; ++x) below[x] = Over(below[x], above[x], alpha[x]);
  }
}

}  // namespace lumivex
