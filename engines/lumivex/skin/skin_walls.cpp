#include "skin/skin_walls.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

namespace lumivex {
namespace {

constexpr float kLeastEdge = 0.1f;    // of the upper edges that a wall fills
constexpr float kColourSlack = 1.5f;  // of its colour,
constexpr float kLightSlack = 0.18f;  // and of its light: a part of it
constexpr int kTopRows = 4;           // cells, that tell its light
constexpr float kDarkest = 0.3f;      // of its middle, at that
constexpr float kLightest = 1.8f;
constexpr float kLeastRest = 0.02f;  // of the skin, without what is a wall
constexpr uint8_t kSkin = 100;       // weight from which on a cell tells of a wall

}  // namespace

void SkinWalls::LeaveOut(const CellColours &cells, int step, cv::Mat &weight) {
  TakeEdge(cells, step, weight);
  const size_t edge = static_cast<size_t>(weight.cols) + static_cast<size_t>(weight.rows);
  if (static_cast<float>(samples_.size()) < kLeastEdge * static_cast<float>(edge) / static_cast<float>(step)) return;
  const std::optional<SkinModel> wall = SkinModel::Learn(samples_);
  if (!wall) return;
  left_.create(weight.size(), CV_8U);
  int64_t before = 0;
  int64_t after = 0;
  const Lanes one = All<Lanes>(1.0f);
  const Lanes middle = All<Lanes>(wall->Middle().luma);
  MeasureLight(cells, *wall, step, weight);
  for (int row = 0; row < weight.rows; row += step) {
    const uint8_t *weights = weight.ptr<uint8_t>(row);
    uint8_t *left = left_.ptr<uint8_t>(row);
    for (int column = 0; column < weight.cols; column += kLanes) {
      const int count = weight.cols - column;
      ShadeFreeLanes colours = cells.From(row, column);
      const Lanes lit = colours.luma * LoadSome(light_.data() + column, count);
      const Lanes off = Magnitude(lit - one);
      colours.luma = middle * lit;
      const Lanes part =
          wall->Weight(colours, All<Lanes>(kColourSlack)) * (one - Part<Lanes>(kLightSlack, 2.0f * kLightSlack, off));
      StoreSome(LoadSome(weights + column, count) * (one - part), count, left + column);
    }
    for (int column = 0; column < weight.cols; ++column) {
      before += weights[column];
      after += left[column];
    }
  }
  if (static_cast<double>(after) > kLeastRest * static_cast<double>(before)) std::swap(weight, left_);
}

// The colours along the picture's upper edges, where they are skin's.
void SkinWalls::TakeEdge(const CellColours &cells, int step, const cv::Mat &weight) {
  samples_.clear();
  const auto look = [&](int row, int column) {
    if (weight.at<uint8_t>(row, column) >= kSkin) samples_.push_back(cells.At(row, column));
  };
  for (int column = 0; column < weight.cols; ++column) look(0, column);
  for (int row = step; row < weight.rows * 2 / 3; row += step) {
    look(row, 0);
    look(row, weight.cols - 1);
  }
}

// A lamp at one side lights a wall less towards the other: how light it is at the picture's top tells for each column.
void SkinWalls::MeasureLight(const CellColours &cells, const SkinModel &wall, int step, const cv::Mat &weight) {
  const float middle = wall.Middle().luma;
  const int columns = weight.cols;
  // First sums over the rows, then means over the columns beside each other.
  sums_.assign(static_cast<size_t>(columns), cv::Vec2f());
  for (int column = 0; column < columns; ++column) {
    for (int row = 0; row < std::min(kTopRows, weight.rows); row += step) {
      if (weight.at<uint8_t>(row, column) < kSkin) continue;
      const ShadeFreeColour colour = cells.At(row, column);
      if (colour.luma < kDarkest * middle || colour.luma > kLightest * middle) continue;
      if (wall.Weight({middle, colour.blue, colour.red}, kColourSlack) < 0.5f) continue;
      sums_[static_cast<size_t>(column)] += cv::Vec2f(colour.luma, 1.0f);
    }
  }
  light_.assign(static_cast<size_t>(columns), 0.0f);
  for (int column = 0; column < columns; ++column) {
    cv::Vec2f sum;
    for (int x = std::max(column - kTopRows, 0); x <= std::min(column + kTopRows, columns - 1); ++x)
      sum += sums_[static_cast<size_t>(x)];
    if (sum[1] > kTopRows) light_[static_cast<size_t>(column)] = sum[0] / sum[1];
  }
  FillGaps(middle);
  for (float &here : light_) here = 1.0f / std::max(here, 0.01f);
}

// Where something else is at the top, the columns beside it tell.
void SkinWalls::FillGaps(float middle) {
  const int columns = static_cast<int>(light_.size());
  int last = -1;
  for (int column = 0; column <= columns; ++column) {
    if (column < columns && light_[static_cast<size_t>(column)] <= 0.0f) continue;
    const float from = last >= 0 ? light_[static_cast<size_t>(last)] : 0.0f;
    const float to = column < columns ? light_[static_cast<size_t>(column)] : 0.0f;
    for (int x = last + 1; x < column; ++x) {
      const float part = static_cast<float>(x - last) / static_cast<float>(column - last);
      float &here = light_[static_cast<size_t>(x)];
      here = from > 0.0f && to > 0.0f ? from + part * (to - from) : std::max(from, to);
      if (here <= 0.0f) here = middle;
    }
    last = column;
  }
}

}  // namespace lumivex
