#include "lookup_stage.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

constexpr int kTotal = 64 * 8 * 16;  // weight of the corners, of luma, and the fixed point

int16_t Fixed(float levels, int scale) {
  return static_cast<int16_t>(std::lround(std::clamp(levels, -512.0f, 512.0f) * static_cast<float>(scale)));
}

uint8_t Moved(int code, int change) {
  return static_cast<uint8_t>(std::clamp(code + ((change + kTotal / 2) >> 13), 0, 255));
}
static_assert(kTotal == 1 << 13);

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
      const Corners corners = CornersOf(codes[2 * x], codes[2 * x + 1]);
      const int left = 2 * x;
      const int right = std::min(2 * x + 1, view.width - 1);
      const int mean = (upper[left] + upper[right] + lower[left] + lower[right] + 2) / 4;
      ChangeChroma(corners, mean, codes + 2 * x);
      upper[left] = ChangedLuma(corners, upper[left]);
      if (right != left) upper[right] = ChangedLuma(corners, upper[right]);
      if (lower == upper) continue;
      lower[left] = ChangedLuma(corners, lower[left]);
      if (right != left) lower[right] = ChangedLuma(corners, lower[right]);
    }
  }
}

LookupStage::Corners LookupStage::CornersOf(int u, int v) const {
  const int part_u = u % kSpacing;
  const int part_v = v % kSpacing;
  const Node *first = grid_.data() + (u / kSpacing * kNodes + v / kSpacing) * kNodes;
  return {{first, first + kNodes, first + kNodes * kNodes, first + kNodes * kNodes + kNodes},
          {(kSpacing - part_u) * (kSpacing - part_v), (kSpacing - part_u) * part_v, part_u * (kSpacing - part_v),
           part_u * part_v}};
}

uint8_t LookupStage::ChangedLuma(const Corners &corners, int luma) {
  const int node = luma / kSpacing;
  const int part = luma % kSpacing;
  int change = 0;
  for (int i = 0; i < 4; ++i) {
    const Node *column = corners.columns[i] + node;
    change += corners.weights[i] * (column[0].y * (kSpacing - part) + column[1].y * part);
  }
  return Moved(luma, change);
}

void LookupStage::ChangeChroma(const Corners &corners, int luma, uint8_t *codes) {
  const int node = luma / kSpacing;
  const int part = luma % kSpacing;
  int change_u = 0;
  int change_v = 0;
  for (int i = 0; i < 4; ++i) {
    const Node *column = corners.columns[i] + node;
    change_u += corners.weights[i] * (column[0].u * (kSpacing - part) + column[1].u * part);
    change_v += corners.weights[i] * (column[0].v * (kSpacing - part) + column[1].v * part);
  }
  codes[0] = Moved(codes[0], change_u);
  codes[1] = Moved(codes[1], change_v);
}

void LookupStage::Prepare(const YuvSpace &space, const std::shared_ptr<const LookupTable> &table, float strength) {
  if (table == table_ && space == space_ && strength == strength_) return;
  table_ = table;
  space_ = space;
  strength_ = strength;
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
