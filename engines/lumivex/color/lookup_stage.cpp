#include "color/lookup_stage.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <opencv2/core/hal/intrin.hpp>

namespace lumivex {
namespace {

int16_t Fixed(float levels, int scale) {
  return static_cast<int16_t>(std::lround(std::clamp(levels, -511.0f, 511.0f) * static_cast<float>(scale)));
}

Rgb Clamped(const Rgb &rgb) {
  return {std::clamp(rgb[0], 0.0f, 1.0f), std::clamp(rgb[1], 0.0f, 1.0f), std::clamp(rgb[2], 0.0f, 1.0f)};
}

uint32_t CodeOf(const uint8_t *codes) {
  return codes[0] | static_cast<uint32_t>(codes[1]) << 8;
}
uint64_t CodeOf(const LookupChroma &chroma) {
  return chroma.u | static_cast<uint64_t>(chroma.v) << 8;
}

// As they lie in memory.
uint64_t FourCodes(uint8_t first, uint8_t second, uint8_t third, uint8_t fourth) {
  return first | static_cast<uint32_t>(second) << 8 | static_cast<uint32_t>(third) << 16 |
         static_cast<uint32_t>(fourth) << 24;
}

// Of 16 pixels of a row, in pairs.
cv::v_uint16x8 PairSums(const uint8_t *pixels) {
  const cv::v_uint16x8 pairs = cv::v_reinterpret_as_u16(cv::v_load(pixels));
  return (pairs & cv::v_setall_u16(255)) + (pairs >> 8);
}

// The mean luma of the four pixels of each pair of chroma codes.
void MeansOf(const uint8_t *upper, const uint8_t *lower, int pairs, uint8_t *means) {
  const cv::v_uint16x8 half = cv::v_setall_u16(2);
  int x = 0;
  for (; x + 16 <= pairs; x += 16) {
    const cv::v_uint16x8 first = PairSums(upper + 2 * x) + PairSums(lower + 2 * x);
    const cv::v_uint16x8 second = PairSums(upper + 2 * x + 16) + PairSums(lower + 2 * x + 16);
    cv::v_store(means + x, cv::v_pack((first + half) >> 2, (second + half) >> 2));
  }
  for (; x < pairs; ++x) {
    const int sum = upper[2 * x] + upper[2 * x + 1] + lower[2 * x] + lower[2 * x + 1];
    means[x] = static_cast<uint8_t>((sum + 2) / 4);
  }
}

}  // namespace

void LookupStage::Apply(const Nv12View &view, const YuvSpace &space, const std::shared_ptr<const LookupTable> &table,
                        float strength, const RowBands &bands) {
  Prepare(space, table, strength);
  bands.Run(view.chroma_height, RowBands::kRows / 2, [&](int first, int end, int) { ApplyRows(view, first, end); });
}

// Rows of chroma.
void LookupStage::ApplyRows(const Nv12View &view, int first, int end) {
  for (int row = first; row < end; ++row) {
    const int pairs = 2 * row + 1 < view.height ? view.width / 2 : 0;  // with all of their four pixels
    const int whole = pairs / 4 * 4;
    for (int x = 0; x < whole; x += kBlock)
      ApplyBlock(view.UvRow(row) + 2 * x, view.YRow(2 * row) + 2 * x, view.YRow(2 * row + 1) + 2 * x,
                 std::min(kBlock, whole - x));
    for (int x = whole; x < view.chroma_width; ++x) ApplyEdge(view, row, x);
  }
}

// Each pixel costs one load of it and one of the table, and four pairs are stored at once: more would be the slowest
// part of a frame. `pairs` is a multiple of four.
void LookupStage::ApplyBlock(uint8_t *codes, uint8_t *upper, uint8_t *lower, int pairs) {
  const std::atomic<const Column *> *by_code = by_code_.get();
  const auto column_of = [&](uint32_t code) -> const Column & {
    const Column *column = by_code[code].load(std::memory_order_acquire);
    return column ? *column : MakeColumn(code);
  };
  std::array<uint8_t, kBlock> means;
  MeansOf(upper, lower, pairs, means.data());
  const uint8_t *mean = means.data();
  for (int x = 0; x < pairs; x += 4, codes += 8, upper += 8, lower += 8, mean += 4) {
    const Column &a = column_of(CodeOf(codes));
    const Column &b = column_of(CodeOf(codes + 2));
    const Column &c = column_of(CodeOf(codes + 4));
    const Column &d = column_of(CodeOf(codes + 6));
    const auto luma = [&](const uint8_t *y) {
      return FourCodes(a.y[y[0]], a.y[y[1]], b.y[y[2]], b.y[y[3]]) |
             FourCodes(c.y[y[4]], c.y[y[5]], d.y[y[6]], d.y[y[7]]) << 32;
    };
    const uint64_t chroma = CodeOf(a.chroma[mean[0]]) | CodeOf(b.chroma[mean[1]]) << 16 |
                            CodeOf(c.chroma[mean[2]]) << 32 | CodeOf(d.chroma[mean[3]]) << 48;
    const uint64_t changed_upper = luma(upper);
    const uint64_t changed_lower = luma(lower);
    std::memcpy(codes, &chroma, sizeof(chroma));
    std::memcpy(upper, &changed_upper, sizeof(changed_upper));
    std::memcpy(lower, &changed_lower, sizeof(changed_lower));
  }
}

// A pair at the edge of a frame, which may lack pixels.
void LookupStage::ApplyEdge(const Nv12View &view, int row, int x) {
  uint8_t *codes = view.UvRow(row) + 2 * x;
  const Column &column = ColumnOf(CodeOf(codes));
  const int last_row = std::min(2 * row + 1, view.height - 1);
  const int last = std::min(2 * x + 1, view.width - 1);
  int sum = 0;
  int count = 0;
  for (int pixel_row = 2 * row; pixel_row <= last_row; ++pixel_row) {
    uint8_t *pixels = view.YRow(pixel_row);
    for (int pixel = 2 * x; pixel <= last; ++pixel, ++count) {
      sum += pixels[pixel];
      pixels[pixel] = column.y[pixels[pixel]];
    }
  }
  const LookupChroma chroma = column.chroma[static_cast<size_t>((sum + count / 2) / count)];
  std::memcpy(codes, &chroma, sizeof(chroma));
}

uint8_t LookupStage::Changed(const std::array<Node, kNodes> &nodes, int16_t Node::*component, int luma, int code) {
  const auto first = static_cast<size_t>(luma / kSpacing);
  const int part = luma % kSpacing;
  const int change = nodes[first].*component * (kSpacing - part) + nodes[first + 1].*component * part;
  return static_cast<uint8_t>(std::clamp((code * kUnit + change + kUnit / 2) >> kUnitBits, 0, 255));
}

const LookupStage::Column &LookupStage::ColumnOf(uint32_t code) {
  const Column *column = by_code_[code].load(std::memory_order_acquire);
  return column ? *column : MakeColumn(code);
}

const LookupStage::Column &LookupStage::MakeColumn(uint32_t code) {
  const std::lock_guard<std::mutex> lock(making_);
  if (const Column *made = by_code_[code].load(std::memory_order_relaxed)) return *made;
  Column &column = columns_[made_++];
  MixColumn(static_cast<int>(code & 255), static_cast<int>(code >> 8), column);
  by_code_[code].store(&column, std::memory_order_release);
  return column;
}

void LookupStage::MixColumn(int u, int v, Column &column) const {
  constexpr int kWeights = kSpacing * kSpacing;
  const int part_u = u % kSpacing;
  const int part_v = v % kSpacing;
  const int weights[4] = {(kSpacing - part_u) * (kSpacing - part_v), (kSpacing - part_u) * part_v,
                          part_u * (kSpacing - part_v), part_u * part_v};
  const Node *first = grid_.data() + (u / kSpacing * kNodes + v / kSpacing) * kNodes;
  const Node *corners[4] = {first, first + kNodes, first + kNodes * kNodes, first + kNodes * kNodes + kNodes};
  const auto mix = [&](size_t node, int16_t Node::*component) {
    int sum = kWeights / 2;
    for (int i = 0; i < 4; ++i) sum += weights[i] * corners[i][node].*component;
    return static_cast<int16_t>(sum >> 6);
  };
  static_assert(kWeights == 1 << 6);
  std::array<Node, kNodes> nodes;
  for (size_t node = 0; node < nodes.size(); ++node)
    nodes[node] = {mix(node, &Node::y), mix(node, &Node::u), mix(node, &Node::v)};
  for (int luma = 0; luma < 256; ++luma) {
    const auto at = static_cast<size_t>(luma);
    column.y[at] = Changed(nodes, &Node::y, luma, luma);
    column.chroma[at] = {Changed(nodes, &Node::u, luma, u), Changed(nodes, &Node::v, luma, v)};
  }
}

void LookupStage::Prepare(const YuvSpace &space, const std::shared_ptr<const LookupTable> &table, float strength) {
  if (table == table_ && space == space_ && strength == strength_) return;
  table_ = table;
  space_ = space;
  strength_ = strength;
  if (!columns_) columns_.reset(new Column[kChromaCodes]);
  if (!by_code_) by_code_.reset(new std::atomic<const Column *>[kChromaCodes]);
  for (size_t code = 0; code < kChromaCodes; ++code) by_code_[code].store(nullptr, std::memory_order_relaxed);
  made_ = 0;
  grid_.resize(static_cast<size_t>(kNodes) * kNodes * kNodes);
  Node *node = grid_.data();
  for (int u = 0; u < kNodes; ++u) {
    for (int v = 0; v < kNodes; ++v) {
      for (int y = 0; y < kNodes; ++y, ++node) {
        const Rgb rgb = ToRgb(space, static_cast<float>(y * kSpacing), static_cast<float>(u * kSpacing),
                              static_cast<float>(v * kSpacing));
        const Rgb inside = Clamped(rgb);
        const Rgb mapped = table->At(inside);
        // Only the difference passes through the matrix, so black drops out.
        Rgb added;
        for (size_t i = 0; i < 3; ++i) added[i] = strength * (mapped[i] - inside[i]);
        const auto codes = FromRgb(space, added);
        *node = {Fixed(codes[0] - static_cast<float>(space.black), kScale), Fixed(codes[1] - 128.0f, kScale),
                 Fixed(codes[2] - 128.0f, kScale)};
      }
    }
  }
}

}  // namespace lumivex
