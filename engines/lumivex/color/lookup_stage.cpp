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
                        float strength) {
  Prepare(space, table, strength);
  for (int row = 0; row < view.chroma_height; ++row) {
    uint8_t *codes = view.UvRow(row);
    uint8_t *upper = view.YRow(2 * row);
    uint8_t *lower = view.YRow(std::min(2 * row + 1, view.height - 1));
    for (int x = 0; x < view.chroma_width; ++x) {
      const Node *column = ColumnOf(codes[2 * x], codes[2 * x + 1]);
      const int left = 2 * x;
      const int right = std::min(2 * x + 1, view.width - 1);
      const int mean = (upper[left] + upper[right] + lower[left] + lower[right] + 2) / 4;
      codes[2 * x] = Changed<&Node::u>(column, mean, codes[2 * x]);
      codes[2 * x + 1] = Changed<&Node::v>(column, mean, codes[2 * x + 1]);
      upper[left] = Changed<&Node::y>(column, upper[left], upper[left]);
      if (right != left) upper[right] = Changed<&Node::y>(column, upper[right], upper[right]);
      if (lower == upper) continue;
      lower[left] = Changed<&Node::y>(column, lower[left], lower[left]);
      if (right != left) lower[right] = Changed<&Node::y>(column, lower[right], lower[right]);
    }
  }
}

template <int16_t LookupStage::Node::*kComponent>
uint8_t LookupStage::Changed(const Node *column, int luma, int code) {
  const Node *node = column + luma / kSpacing;
  const int part = luma % kSpacing;
  const int change = node[0].*kComponent * (kSpacing - part) + node[1].*kComponent * part;
  return static_cast<uint8_t>(std::clamp((code * kUnit + change + kUnit / 2) >> kUnitBits, 0, 255));
}

const LookupStage::Node *LookupStage::ColumnOf(int u, int v) {
  const size_t code = static_cast<size_t>(u) << 8 | static_cast<size_t>(v);
  Node *column = columns_.data() + code * kNodes;
  if (!mixed_[code]) {
    MixColumn(u, v, column);
    mixed_[code] = 1;
  }
  return column;
}

void LookupStage::MixColumn(int u, int v, Node *column) const {
  constexpr int kWeights = kSpacing * kSpacing;
  const int part_u = u % kSpacing;
  const int part_v = v % kSpacing;
  const int weights[4] = {(kSpacing - part_u) * (kSpacing - part_v), (kSpacing - part_u) * part_v,
                          part_u * (kSpacing - part_v), part_u * part_v};
  const Node *first = grid_.data() + (u / kSpacing * kNodes + v / kSpacing) * kNodes;
  const Node *corners[4] = {first, first + kNodes, first + kNodes * kNodes, first + kNodes * kNodes + kNodes};
  const auto mix = [&](int node, int16_t Node::*component) {
    int sum = kWeights / 2;
    for (int i = 0; i < 4; ++i) sum += weights[i] * corners[i][node].*component;
    return static_cast<int16_t>(sum >> 6);
  };
  static_assert(kWeights == 1 << 6);
  for (int node = 0; node < kNodes; ++node)
    column[node] = {mix(node, &Node::y), mix(node, &Node::u), mix(node, &Node::v)};
}

void LookupStage::Prepare(const YuvSpace &space, const std::shared_ptr<const LookupTable> &table, float strength) {
  if (table == table_ && space == space_ && strength == strength_) return;
  table_ = table;
  space_ = space;
  strength_ = strength;
  columns_.resize(size_t{256} * 256 * kNodes);
  mixed_.assign(size_t{256} * 256, 0);
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
