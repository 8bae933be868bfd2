#include "color/lookup_stage.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

int16_t Fixed(float levels, int scale) {
  return static_cast<int16_t>(std::lround(std::clamp(levels, -511.0f, 511.0f) * static_cast<float>(scale)));
}

Rgb Clamped(const Rgb &rgb) {
  return {std::clamp(rgb[0], 0.0f, 1.0f), std::clamp(rgb[1], 0.0f, 1.0f), std::clamp(rgb[2], 0.0f, 1.0f)};
}

}  // namespace

void LookupStage::Apply(const Nv12View &view, const YuvSpace &space, const std::shared_ptr<const LookupTable> &table,
                        float strength, const RowBands &bands) {
  Prepare(space, table, strength);
  bands.Run(view.chroma_height, RowBands::kRows / 2, [&](int first, int end, int) { ApplyRows(view, first, end); });
}

// Rows of chroma.
void LookupStage::ApplyRows(const Nv12View &view, int first, int end) {
  const int whole_pairs = view.width / 2;
  for (int row = first; row < end; ++row) {
    uint8_t *codes = view.UvRow(row);
    uint8_t *upper = view.YRow(2 * row);
    uint8_t *lower = view.YRow(std::min(2 * row + 1, view.height - 1));
    const bool two_rows = lower != upper;
    for (int x = 0; x < view.chroma_width; ++x) {
      const Column &column = ColumnOf(codes[2 * x], codes[2 * x + 1]);
      const int left = 2 * x;
      const int right = x < whole_pairs ? left + 1 : left;
      const int mean = (upper[left] + upper[right] + lower[left] + lower[right] + 2) / 4;
      codes[left] = column.u[static_cast<size_t>(mean)];
      codes[left + 1] = column.v[static_cast<size_t>(mean)];
      upper[left] = column.y[upper[left]];
      if (right != left) upper[right] = column.y[upper[right]];
      if (!two_rows) continue;
      lower[left] = column.y[lower[left]];
      if (right != left) lower[right] = column.y[lower[right]];
    }
  }
}

uint8_t LookupStage::Changed(const std::array<Node, kNodes> &nodes, int16_t Node::*component, int luma, int code) {
  const auto first = static_cast<size_t>(luma / kSpacing);
  const int part = luma % kSpacing;
  const int change = nodes[first].*component * (kSpacing - part) + nodes[first + 1].*component * part;
  return static_cast<uint8_t>(std::clamp((code * kUnit + change + kUnit / 2) >> kUnitBits, 0, 255));
}

const LookupStage::Column &LookupStage::ColumnOf(int u, int v) {
  const size_t code = static_cast<size_t>(u) << 8 | static_cast<size_t>(v);
  if (!mixed_[code].load(std::memory_order_acquire)) {
    const std::lock_guard<std::mutex> lock(mixing_);
    if (!mixed_[code].load(std::memory_order_relaxed)) MixColumn(u, v, columns_[code]);
    mixed_[code].store(true, std::memory_order_release);
  }
  return columns_[code];
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
    column.u[at] = Changed(nodes, &Node::u, luma, u);
    column.v[at] = Changed(nodes, &Node::v, luma, v);
  }
}

void LookupStage::Prepare(const YuvSpace &space, const std::shared_ptr<const LookupTable> &table, float strength) {
  if (table == table_ && space == space_ && strength == strength_) return;
  table_ = table;
  space_ = space;
  strength_ = strength;
  if (!columns_) columns_.reset(new Column[kChromaCodes]);
  if (!mixed_) mixed_.reset(new std::atomic<bool>[kChromaCodes]);
  for (size_t code = 0; code < kChromaCodes; ++code) mixed_[code].store(false, std::memory_order_relaxed);
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
