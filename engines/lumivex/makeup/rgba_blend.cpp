#include "makeup/rgba_blend.h"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace lumivex {
namespace {

// A pixel of the picture, 0 to 1, colours multiplied by alpha.
struct Layer {
  float red;
  float green;
  float blue;
  float alpha;
};

// What one channel changes by. `under` is clamped to 0..1 where the formula needs it; `over` is multiplied by `alpha`.
template <MakeupBlend kBlend>
float Change(float under, float over, float alpha) {
  if constexpr (kBlend == MakeupBlend::kNormal) return over - alpha * under;
  const float base = std::min(std::max(under, 0.0f), 1.0f);
  if constexpr (kBlend == MakeupBlend::kMultiply) return base * (over - alpha);
  if constexpr (kBlend == MakeupBlend::kScreen) return over * (1.0f - base);
  return (base - base * base) * (2.0f * over - alpha);
}

// One frame's numbers, as factors between codes and 0..1.
struct Codes {
  explicit Codes(const YuvSpace &space)
      : red(space.kr),
        green(1.0f - space.kr - space.kb),
        blue(space.kb),
        black(static_cast<float>(space.black)),
        from_luma(1.0f / static_cast<float>(space.span)),
        to_luma(static_cast<float>(space.span)),
        red_from_v(2.0f * (1.0f - space.kr) / static_cast<float>(space.chroma)),
        blue_from_u(2.0f * (1.0f - space.kb) / static_cast<float>(space.chroma)),
        green_from_u(-space.kb * blue_from_u / green),
        green_from_v(-space.kr * red_from_v / green) {}

  float red, green, blue;  // luma weights
  float black;
  float from_luma, to_luma;
  float red_from_v, blue_from_u;
  float green_from_u, green_from_v;
};

uint8_t Code(float value) {
  return static_cast<uint8_t>(std::min(std::max(value + 0.5f, 0.0f), 255.0f));
}

// What red, green and blue change by.
struct Rgb3 {
  float red;
  float green;
  float blue;
};

template <MakeupBlend kBlend>
Rgb3 ChangeOf(float luma, float red, float green, float blue, const Layer &over) {
  return {Change<kBlend>(luma + red, over.red, over.alpha), Change<kBlend>(luma + green, over.green, over.alpha),
          Change<kBlend>(luma + blue, over.blue, over.alpha)};
}

Layer LayerAt(const uint8_t *pixel, float scale) {
  return {static_cast<float>(pixel[0]) * scale, static_cast<float>(pixel[1]) * scale,
          static_cast<float>(pixel[2]) * scale, static_cast<float>(pixel[3]) * scale};
}

// Two rows of pixels and the row of chroma that belongs to them. Borrows: everything. Threads: one.
template <MakeupBlend kBlend>
class PairOfRows {
 public:
  PairOfRows(const Nv12View &view, const Codes &codes, const cv::Rect &part, const cv::Mat &picture, int row,
             float strength, float *from_chroma)
      : codes_(codes),
        width_(part.width),
        pairs_((part.width + 1) / 2),
        rows_(std::min(2, part.height - row)),
        scale_(strength / 255.0f),
        uv_(view.UvRow((part.y + row) / 2) + part.x),
        red_(from_chroma),
        green_(from_chroma + pairs_),
        blue_(from_chroma + 2 * pairs_) {
    for (int i = 0; i < rows_; ++i) {
      y_[i] = view.YRow(part.y + row + i) + part.x;
      over_[i] = picture.ptr<uint8_t>(row + i);
    }
  }

  void Blend(float *changed) {
    ReadChroma();
    MeasureChroma(changed);
    for (int i = 0; i < rows_; ++i) BlendLuma(y_[i], over_[i]);
    WriteChroma(changed);
  }

 private:
  void ReadChroma() {
    for (int pair = 0; pair < pairs_; ++pair) {
      const float u = static_cast<float>(uv_[2 * pair]) - 128.0f;
      const float v = static_cast<float>(uv_[2 * pair + 1]) - 128.0f;
      red_[pair] = codes_.red_from_v * v;
      green_[pair] = codes_.green_from_u * u + codes_.green_from_v * v;
      blue_[pair] = codes_.blue_from_u * u;
    }
  }

  // From luma as it was, so before luma is changed.
  void MeasureChroma(float *changed) const {
    for (int pair = 0; pair < pairs_; ++pair) {
      const int columns = std::min(2, width_ - 2 * pair);
      float luma = 0.0f;
      Layer over{0.0f, 0.0f, 0.0f, 0.0f};
      for (int i = 0; i < rows_; ++i) {
        for (int x = 2 * pair; x < 2 * pair + columns; ++x) {
          luma += static_cast<float>(y_[i][x]);
          const Layer one = LayerAt(over_[i] + 4 * x, scale_);
          over = {over.red + one.red, over.green + one.green, over.blue + one.blue, over.alpha + one.alpha};
        }
      }
      const float part = 1.0f / static_cast<float>(rows_ * columns);
      over = {over.red * part, over.green * part, over.blue * part, over.alpha * part};
      const Rgb3 change = ChangeOf<kBlend>((luma * part - codes_.black) * codes_.from_luma, red_[pair], green_[pair],
                                           blue_[pair], over);
      const float bright = codes_.red * change.red + codes_.green * change.green + codes_.blue * change.blue;
      changed[2 * pair] = (change.blue - bright) / codes_.blue_from_u;
      changed[2 * pair + 1] = (change.red - bright) / codes_.red_from_v;
    }
  }

  void BlendLuma(uint8_t *luma, const uint8_t *over) const {
    for (int x = 0; x < width_; ++x) {
      const Layer layer = LayerAt(over + 4 * x, scale_);
      const auto code = static_cast<float>(luma[x]);
      const Rgb3 change =
          ChangeOf<kBlend>((code - codes_.black) * codes_.from_luma, red_[x / 2], green_[x / 2], blue_[x / 2], layer);
      luma[x] = Code(code + codes_.to_luma *
                                (codes_.red * change.red + codes_.green * change.green + codes_.blue * change.blue));
    }
  }

  void WriteChroma(const float *changed) {
    for (int i = 0; i < 2 * pairs_; ++i) uv_[i] = Code(static_cast<float>(uv_[i]) + changed[i]);
  }

  const Codes &codes_;
  const int width_;
  const int pairs_;
  const int rows_;
  const float scale_;
  uint8_t *uv_;
  uint8_t *y_[2] = {};
  const uint8_t *over_[2] = {};
  float *red_;
  float *green_;
  float *blue_;
};

// The columns of up to two rows, from an even one on, outside of which the picture is clear.
cv::Range CoveredColumns(const cv::Mat &picture, int row) {
  int first = picture.cols;
  int end = 0;
  for (int i = row; i < std::min(row + 2, picture.rows); ++i) {
    const uint8_t *alpha = picture.ptr<uint8_t>(i) + 3;
    int x = 0;
    while (x < first && alpha[4 * x] == 0) ++x;
    first = x;
    int last = picture.cols;
    while (last > end && alpha[4 * (last - 1)] == 0) --last;
    end = last;
  }
  return {first & ~1, std::max(first & ~1, end)};
}

template <MakeupBlend kBlend>
void BlendWith(const Nv12View &view, const YuvSpace &space, const cv::Rect &part, const cv::Mat &picture,
               float strength, const cv::Range &rows, float *from_chroma, float *changed) {
  const Codes codes(space);
  for (int row = rows.start; row < rows.end; row += 2) {
    cv::Range columns = CoveredColumns(picture, row);
    if (columns.empty()) continue;
    columns.end = std::min(columns.end + (columns.end & 1), part.width);  // whole pairs of chroma
    const cv::Rect covered(part.x + columns.start, part.y, columns.size(), part.height);
    PairOfRows<kBlend>(view, codes, covered, picture.colRange(columns), row, strength, from_chroma).Blend(changed);
  }
}

}  // namespace

// cv::boundingRect would bring the file that fits ellipses, and with it solvers that small builds of OpenCV lack.
cv::Rect SeenPart(const cv::Mat &rgba) {
  cv::Rect seen;
  for (int row = 0; row < rgba.rows; ++row) {
    const auto *pixels = rgba.ptr<cv::Vec4b>(row);
    const auto shows = [](const cv::Vec4b &pixel) { return pixel[3] != 0; };
    const auto *end = pixels + rgba.cols;
    const auto *first = std::find_if(pixels, end, shows);
    if (first == end) continue;
    while (!shows(end[-1])) --end;
    seen |= cv::Rect(static_cast<int>(first - pixels), row, static_cast<int>(end - first), 1);
  }
  return seen;
}

void RgbaBlender::Blend(const Nv12View &view, const YuvSpace &space, const cv::Rect &part, const cv::Mat &picture,
                        MakeupBlend blend, float strength, const RowBands &bands) {
  const auto pairs = static_cast<size_t>((part.width + 1) / 2);
  scratch_.resize(static_cast<size_t>(bands.Threads()));
  for (Scratch &scratch : scratch_) {
    scratch.from_chroma.resize(3 * pairs);
    scratch.changed.resize(2 * pairs);
  }
  using Work = void (*)(const Nv12View &, const YuvSpace &, const cv::Rect &, const cv::Mat &, float, const cv::Range &,
                        float *, float *);
  constexpr Work kWork[] = {BlendWith<MakeupBlend::kNormal>, BlendWith<MakeupBlend::kMultiply>,
                            BlendWith<MakeupBlend::kScreen>, BlendWith<MakeupBlend::kSoftLight>};
  bands.Run(part.height, RowBands::kRows, [&](int first, int end, int thread) {
    Scratch &own = scratch_[static_cast<size_t>(thread)];
    kWork[static_cast<size_t>(blend)](view, space, part, picture, strength, {first, end}, own.from_chroma.data(),
                                      own.changed.data());
  });
}

}  // namespace lumivex
