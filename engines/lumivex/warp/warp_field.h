// Where each part of a picture comes from, when some of it is moved.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <opencv2/core/types.hpp>
#include <vector>

#include "faces/faces.h"

namespace lumivex {

// Displacements at the nodes of a grid, straight between them: the pixel at p shows what was at p + displacement.
// Movements are chained, so that the field folds nowhere if none of them does: each is added for the picture before the
// ones added earlier, and is given in that picture's places.
// Owns: the nodes. Threads: one at a time.
class WarpField {
 public:
  static constexpr int kStep = 4;   // pixels between nodes: a lip may have no more
  static constexpr int kTile = 64;  // pixels a side of the squares that are moved or left as a whole
  static constexpr int kTileNodes = kTile / kStep;

  // Moves nothing afterwards. Sizes in pixels, 1 or more.
  void Begin(int width, int height);

  // Adds a displacement, in pixels, to every node that shows a place no farther from `center` than `reach_x` and
  // `reach_y`. `displacement` takes a FramePoint and gives one; it should be 0 at the edge of what it reaches.
  template <typename Displacement>
  void Add(const FramePoint &center, float reach_x, float reach_y, const Displacement &displacement) {
    const float far_x = reach_x + farthest_ + kStep;
    const float far_y = reach_y + farthest_ + kStep;
    const int left = ToNode(center.x - far_x, columns_);
    const int right = ToNode(center.x + far_x, columns_);
    const int top = ToNode(center.y - far_y, rows_);
    const int bottom = ToNode(center.y + far_y, rows_);
    float farthest = farthest_;
    for (int row = top; row <= bottom; ++row) {
      for (int column = left; column <= right; ++column) {
        FramePoint &node = nodes_[Index(row, column)];
        const FramePoint shown{static_cast<float>(column * kStep) + node.x, static_cast<float>(row * kStep) + node.y};
        const FramePoint more = displacement(shown);
        node.x += more.x;
        node.y += more.y;
        farthest = std::max({farthest, std::fabs(node.x), std::fabs(node.y)});
      }
    }
    farthest_ = farthest;
    if (left <= right && top <= bottom) touched_ |= cv::Rect(left, top, right - left + 1, bottom - top + 1);
  }

  // After the last Add: keeps every displacement within the picture, and notes which tiles move.
  void End();

  // The place that is shown at a place of the moved picture.
  FramePoint Source(const FramePoint &moved) const;
  // The other way: where a place of the picture is shown afterwards. Within a hundredth of a pixel, unless the field
  // folds there.
  FramePoint Moved(const FramePoint &source) const;

  bool Moves() const { return moves_; }
  // Whether a part of the tile is shown larger than it was.
  bool TileEnlarges(int tile_row, int tile_column) const;
  bool TileMoves(int tile_row, int tile_column) const {
    return tiles_[static_cast<size_t>(tile_row) * static_cast<size_t>(tile_columns_) +
                  static_cast<size_t>(tile_column)] != 0;
  }
  int TileRows() const { return tile_rows_; }
  int TileColumns() const { return tile_columns_; }
  int Columns() const { return columns_; }
  const FramePoint *Row(int row) const { return nodes_.data() + Index(row, 0); }
  int Rows() const { return rows_; }
  // The longest displacement along either axis, pixels.
  float Longest() const { return longest_; }

 private:
  size_t Index(int row, int column) const {
    return static_cast<size_t>(row) * static_cast<size_t>(columns_) + static_cast<size_t>(column);
  }
  // The node at or before the place, within the grid. Places far outside, and what is no number, too.
  static int ToNode(float place, int count) {
    const float node = std::floor(place / kStep);
    if (!(node > 0.0f)) return 0;
    return node < static_cast<float>(count - 1) ? static_cast<int>(node) : count - 1;
  }
  bool AnyNodeMoves(int tile_row, int tile_column) const;

  int width_ = 0;
  int height_ = 0;
  int columns_ = 0;
  int rows_ = 0;
  int tile_columns_ = 0;
  int tile_rows_ = 0;
  std::vector<FramePoint> nodes_;
  std::vector<uint8_t> tiles_;
  cv::Rect touched_;  // the nodes that may move
  bool moves_ = false;
  float longest_ = 0.0f;
  float farthest_ = 0.0f;  // likewise, while movements are added
};

}  // namespace lumivex
