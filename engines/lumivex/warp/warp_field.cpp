#include "warp/warp_field.h"

namespace lumivex {
namespace {

constexpr float kLeast = 1.0f / 64.0f;  // pixels: less cannot be seen

// At most half of the way to the picture's edge, so that nothing comes from outside and nothing folds.
float Inside(float displacement, float place, float size) {
  if (!(std::fabs(displacement) >= kLeast)) return 0.0f;
  return std::clamp(displacement, -0.5f * std::max(place, 0.0f), 0.5f * std::max(size - place, 0.0f));
}

}  // namespace

void WarpField::Begin(int width, int height) {
  width_ = width;
  height_ = height;
  tile_columns_ = (width + kTile - 1) / kTile;
  tile_rows_ = (height + kTile - 1) / kTile;
  // Whole tiles, and the nodes at their far edge.
  columns_ = tile_columns_ * kTileNodes + 1;
  rows_ = tile_rows_ * kTileNodes + 1;
  nodes_.assign(static_cast<size_t>(columns_) * static_cast<size_t>(rows_), FramePoint{});
  tiles_.assign(static_cast<size_t>(tile_columns_) * static_cast<size_t>(tile_rows_), 0);
  touched_ = false;
  moves_ = false;
  longest_ = 0.0f;
}

void WarpField::End() {
  if (!touched_) return;
  for (int row = 0; row < rows_; ++row) {
    for (int column = 0; column < columns_; ++column) {
      FramePoint &node = nodes_[Index(row, column)];
      node.x = Inside(node.x, static_cast<float>(column * kStep), static_cast<float>(width_));
      node.y = Inside(node.y, static_cast<float>(row * kStep), static_cast<float>(height_));
      longest_ = std::max({longest_, std::fabs(node.x), std::fabs(node.y)});
    }
  }
  for (int row = 0; row < tile_rows_; ++row) {
    for (int column = 0; column < tile_columns_; ++column) {
      const bool moves = AnyNodeMoves(row, column);
      tiles_[static_cast<size_t>(row) * static_cast<size_t>(tile_columns_) + static_cast<size_t>(column)] = moves;
      moves_ = moves_ || moves;
    }
  }
}

bool WarpField::AnyNodeMoves(int tile_row, int tile_column) const {
  for (int row = tile_row * kTileNodes; row <= (tile_row + 1) * kTileNodes; ++row) {
    const FramePoint *nodes = Row(row) + tile_column * kTileNodes;
    if (std::any_of(nodes, nodes + kTileNodes + 1, [](const FramePoint &node) { return node != FramePoint{}; }))
      return true;
  }
  return false;
}

}  // namespace lumivex
