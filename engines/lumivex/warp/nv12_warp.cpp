#include "warp/nv12_warp.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace lumivex {
namespace {

constexpr int kUnits = cv::INTER_TAB_SIZE;  // parts of a pixel
constexpr int kUnitBits = cv::INTER_BITS;
static_assert(kUnits == 1 << kUnitBits);

constexpr int kNodes = WarpField::kTileNodes;
constexpr int kLongestSide = 32000;  // places are 16-bit numbers
constexpr int kOffset = 1 << 20;     // makes every place positive before it is cut to whole units

// The tiles that move, as a rectangle of frame pixels.
cv::Rect MovingPart(const WarpField &field) {
  int top = field.TileRows();
  int bottom = -1;
  int left = field.TileColumns();
  int right = -1;
  for (int row = 0; row < field.TileRows(); ++row) {
    for (int column = 0; column < field.TileColumns(); ++column) {
      if (!field.TileMoves(row, column)) continue;
      top = std::min(top, row);
      bottom = std::max(bottom, row);
      left = std::min(left, column);
      right = std::max(right, column);
    }
  }
  constexpr int kTile = WarpField::kTile;
  return {left * kTile, top * kTile, (right - left + 1) * kTile, (bottom - top + 1) * kTile};
}

// Whole and broken pixels of a row of places in units.
void Split(const int *x, const int *y, int count, int16_t *places, uint16_t *fractions) {
  for (int i = 0; i < count; ++i) {
    places[2 * i] = static_cast<int16_t>(x[i] >> kUnitBits);
    places[2 * i + 1] = static_cast<int16_t>(y[i] >> kUnitBits);
    fractions[i] = static_cast<uint16_t>((y[i] & (kUnits - 1)) * kUnits + (x[i] & (kUnits - 1)));
  }
}

int ToUnits(float pixels) {
  return static_cast<int>(pixels * kUnits + (kOffset + 0.5f)) - kOffset;
}

}  // namespace

void Nv12Warp::Apply(const Nv12View &view, const WarpField &field, bool fine, const RowBands &bands) {
  if (!field.Moves() || view.width > kLongestSide || view.height > kLongestSide) return;
  Plane luma{cv::Mat(view.height, view.width, CV_8UC1, view.y, static_cast<size_t>(view.y_stride)), luma_copy_, 1, 0.5f,
             0.5f};
  // Chroma lies on the left pixel of its pair, halfway between the rows.
  Plane chroma{cv::Mat(view.chroma_height, view.chroma_width, CV_8UC2, view.uv, static_cast<size_t>(view.uv_stride)),
               chroma_copy_, 2, 0.5f, 1.0f};
  maps_.resize(static_cast<size_t>(bands.Threads()));
  for (Plane *plane : {&luma, &chroma}) Copy(*plane, field, bands);
  const int tiles = field.TileRows() * field.TileColumns();
  bands.Run(tiles, 1, [&](int first, int end, int thread) {
    for (int tile = first; tile < end; ++tile) {
      const int row = tile / field.TileColumns();
      const int column = tile % field.TileColumns();
      if (!field.TileMoves(row, column)) continue;
      for (Plane *plane : {&luma, &chroma})
        MoveTile(*plane, field, {column, row}, fine, maps_[static_cast<size_t>(thread)]);
    }
  });
}

// In its own place within a copy of the whole plane's size, which need not be made anew when the part moves.
void Nv12Warp::Copy(Plane &plane, const WarpField &field, const RowBands &bands) {
  const cv::Rect part = MovingPart(field);
  const int margin = static_cast<int>(std::ceil(field.Longest() / static_cast<float>(plane.step))) + 3;
  const cv::Rect wanted(part.x / plane.step - margin, part.y / plane.step - margin,
                        part.width / plane.step + 2 * margin, part.height / plane.step + 2 * margin);
  const cv::Rect present = wanted & cv::Rect(cv::Point(), plane.pixels.size());
  plane.copy.create(plane.pixels.size(), plane.pixels.type());
  bands.Run(present.height, RowBands::kRows / plane.step, [&](int first, int end, int) {
    const cv::Rect rows(present.x, present.y + first, present.width, end - first);
    cv::Mat target = plane.copy(rows);
    plane.pixels(rows).copyTo(target);
  });
}

void Nv12Warp::MoveTile(Plane &plane, const WarpField &field, const cv::Point &at, bool fine, Maps &maps) {
  const int side = WarpField::kTile / plane.step;
  const cv::Rect tile = cv::Rect(at.x * side, at.y * side, side, side) & cv::Rect(cv::Point(), plane.pixels.size());
  if (tile.empty()) return;
  FillMaps(plane, field, tile, maps);
  cv::Mat moved = plane.pixels(tile);
  // What is enlarged would lose its fine lines between straight neighbours.
  const int between = fine && field.TileEnlarges(at.y, at.x) ? cv::INTER_CUBIC : cv::INTER_LINEAR;
  cv::remap(plane.copy, moved, maps.places, maps.fractions, between, cv::BORDER_REPLICATE);
}

void Nv12Warp::FillMaps(const Plane &plane, const WarpField &field, const cv::Rect &tile, Maps &maps) {
  maps.places.create(tile.size(), CV_16SC2);
  maps.fractions.create(tile.size(), CV_16UC1);
  const auto step = static_cast<float>(plane.step);
  const int per_node = WarpField::kStep / plane.step;  // pixels
  std::array<float, WarpField::kStep> weights{};       // of the node behind a pixel
  for (int i = 0; i < per_node; ++i)
    weights[static_cast<size_t>(i)] = (static_cast<float>(i) * step + plane.first_x) / WarpField::kStep;
  const FramePoint *nodes = field.Row(0) + tile.x * plane.step / WarpField::kStep;
  std::array<int, WarpField::kTile> x{};
  std::array<int, WarpField::kTile> y{};
  for (int row = 0; row < tile.height; ++row) {
    const float frame_y = static_cast<float>(tile.y + row) * step + plane.first_y;
    const int node_row = std::min(static_cast<int>(frame_y) / WarpField::kStep, field.Rows() - 2);
    const float below = frame_y / WarpField::kStep - static_cast<float>(node_row);
    const FramePoint *upper = nodes + static_cast<ptrdiff_t>(node_row) * field.Columns();
    const FramePoint *lower = upper + field.Columns();
    FramePoint between[kNodes + 1];
    for (int i = 0; i <= kNodes; ++i) {
      between[i] = {(upper[i].x + (lower[i].x - upper[i].x) * below) / step,
                    (upper[i].y + (lower[i].y - upper[i].y) * below) / step};
    }
    const int base_x = tile.x * kUnits;
    const int base_y = (tile.y + row) * kUnits;
    for (int node = 0; node < kNodes; ++node) {
      const FramePoint from = between[node];
      const FramePoint to = between[node + 1];
      for (int i = 0; i < per_node; ++i) {
        const int pixel = node * per_node + i;
        const float weight = weights[static_cast<size_t>(i)];
        x[static_cast<size_t>(pixel)] = base_x + pixel * kUnits + ToUnits(from.x + (to.x - from.x) * weight);
        y[static_cast<size_t>(pixel)] = base_y + ToUnits(from.y + (to.y - from.y) * weight);
      }
    }
    Split(x.data(), y.data(), tile.width, maps.places.ptr<int16_t>(row), maps.fractions.ptr<uint16_t>(row));
  }
}

}  // namespace lumivex
