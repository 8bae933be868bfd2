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
  touched_ = {};
  moves_ = false;
  longest_ = 0.0f;
  farthest_ = 0.0f;
}

FramePoint WarpField::Source(const FramePoint &moved) const {
  if (!moves_) return moved;
  const float x = std::clamp(moved.x / kStep, 0.0f, static_cast<float>(columns_ - 1));
  const float y = std::clamp(moved.y / kStep, 0.0f, static_cast<float>(rows_ - 1));
  const int column = std::min(static_cast<int>(x), columns_ - 2);
  const int row = std::min(static_cast<int>(y), rows_ - 2);
  const float right = x - static_cast<float>(column);
  const float below = y - static_cast<float>(row);
  const FramePoint *upper = Row(row) + column;
  const FramePoint *lower = Row(row + 1) + column;
  const auto between = [&](float FramePoint::*axis) {
    const float above = upper[0].*axis + (upper[1].*axis - upper[0].*axis) * right;
    const float under = lower[0].*axis + (lower[1].*axis - lower[0].*axis) * right;
    return above + (under - above) * below;
  };
  return {moved.x + between(&FramePoint::x), moved.y + between(&FramePoint::y)};
}

// Newton's steps, shorter where a whole one leads away: the field bends at every node.
FramePoint WarpField::Moved(const FramePoint &source) const {
  if (!moves_ || !std::isfinite(source.x) || !std::isfinite(source.y)) return source;
  constexpr int kMostSteps = 40;
  constexpr float kNear = 0.01f;  // pixels
  constexpr float kShortest = 1.0f / 64.0f;
  const auto length = [](const FramePoint &way) { return std::max(std::fabs(way.x), std::fabs(way.y)); };
  FramePoint moved = source;
  FramePoint shown = Source(moved);
  float part = 1.0f;
  for (int step = 0; step < kMostSteps; ++step) {
    const FramePoint rest{source.x - shown.x, source.y - shown.y};
    if (length(rest) < kNear) break;
    const FramePoint right = Source({moved.x + 1.0f, moved.y});
    const FramePoint below = Source({moved.x, moved.y + 1.0f});
    const FramePoint across{right.x - shown.x, right.y - shown.y};
    const FramePoint down{below.x - shown.x, below.y - shown.y};
    const float area = across.x * down.y - across.y * down.x;
    if (!(area > 0.0f)) break;
    const FramePoint way{(rest.x * down.y - rest.y * down.x) / area, (rest.y * across.x - rest.x * across.y) / area};
    const FramePoint next{moved.x + part * way.x, moved.y + part * way.y};
    const FramePoint shown_next = Source(next);
    if (length({source.x - shown_next.x, source.y - shown_next.y}) < length(rest)) {
      moved = next;
      shown = shown_next;
      part = std::min(2.0f * part, 1.0f);
    } else if (part > kShortest) {
      part *= 0.5f;
    } else {
      break;
    }
  }
  return moved;
}

bool WarpField::TileEnlarges(int tile_row, int tile_column) const {
  constexpr float kLeastPart = 0.97f;  // of a pixel's area: less is to be seen
  constexpr float kAreaOfCell = kStep * kStep;
  for (int row = tile_row * kTileNodes; row < (tile_row + 1) * kTileNodes; ++row) {
    const FramePoint *upper = Row(row) + tile_column * kTileNodes;
    const FramePoint *lower = upper + columns_;
    for (int i = 0; i < kTileNodes; ++i) {
      const FramePoint across{kStep + upper[i + 1].x - upper[i].x, upper[i + 1].y - upper[i].y};
      const FramePoint down{lower[i].x - upper[i].x, kStep + lower[i].y - upper[i].y};
      if (across.x * down.y - across.y * down.x < kLeastPart * kAreaOfCell) return true;
    }
  }
  return false;
}

void WarpField::End() {
  if (touched_.empty()) return;
  for (int row = touched_.y; row < touched_.br().y; ++row) {
    for (int column = touched_.x; column < touched_.br().x; ++column) {
      FramePoint &node = nodes_[Index(row, column)];
      node.x = Inside(node.x, static_cast<float>(column * kStep), static_cast<float>(width_));
      node.y = Inside(node.y, static_cast<float>(row * kStep), static_cast<float>(height_));
      longest_ = std::max({longest_, std::fabs(node.x), std::fabs(node.y)});
    }
  }
  // A node at a tile's edge is also the next one's.
  const int last_row = std::min(touched_.br().y / kTileNodes, tile_rows_ - 1);
  const int last_column = std::min(touched_.br().x / kTileNodes, tile_columns_ - 1);
  for (int row = std::max(touched_.y - 1, 0) / kTileNodes; row <= last_row; ++row) {
    for (int column = std::max(touched_.x - 1, 0) / kTileNodes; column <= last_column; ++column) {
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
