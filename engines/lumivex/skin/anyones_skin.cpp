#include "skin/anyones_skin.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <optional>

#include "pixels/cell_grid.h"

namespace lumivex {
namespace {

constexpr int kWideSide = 5;     // cells, of the means in the dark
constexpr float kDark = 0.16f;   // of white: up to here they count alone,
constexpr float kLight = 0.28f;  // from here on not at all
constexpr int kRowsOfStep = 90;  // of cells, for each row of a step
constexpr int kMostStep = 3;
constexpr float kHeadSlack = 1.5f;  // of a head's colour, in plain places
constexpr uint8_t kSample = 200;    // of a head, what tells its colour
// Spots are looked for on so many cells to each side, one for so many lines of the frame.
constexpr int kLinesOfSpot = 103;
constexpr int kLeastSpot = 3;
constexpr int kMostSpot = 11;

}  // namespace

void AnyonesSkin::Find(const CellColours &cells, const YuvSpace &space, int height, const KnownPeople &people,
                       const RowBands &bands, cv::Mat &weight) {
  spots_.Clear();
  WeighByColour(cells, people.Any(), bands, weight);
  people.LeaveOut(weight);
  heads_.Find(weight, cells.luma, static_cast<float>(space.black), people.EyeDistance() / kCell);
  if (people.Any()) {
    KeepHeads(weight);
  } else if (AnyHead()) {
    LeaveOutPlainPlaces(cells, weight);
  }
  if (people.Any() && !AnyHead()) return;
  const int radius = std::clamp((height + kLinesOfSpot / 2) / kLinesOfSpot, kLeastSpot, kMostSpot);
  spots_.Find(cells.luma, cells.u, cells.v, space, radius, weight, bands);
}

void AnyonesSkin::WeighByColour(const CellColours &cells, bool beside_known, const RowBands &bands, cv::Mat &weight) {
  weight.create(cells.luma.rows, cells.luma.cols, CV_8U);
  // In the dark a cell's colour is mostly noise, and the light and dark of its few codes are far apart.
  const cv::Size side(kWideSide, kWideSide);
  cv::blur(cells.u, wide_u_, side, cv::Point(-1, -1), cv::BORDER_REPLICATE);
  cv::blur(cells.v, wide_v_, side, cv::Point(-1, -1), cv::BORDER_REPLICATE);
  // Heads are looked for in blocks, so beside known people some rows stand for those below them.
  const int step = beside_known ? std::clamp((weight.rows + kRowsOfStep / 2) / kRowsOfStep, 1, kMostStep) : 1;
  bands.Run(weight.rows, kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = first; row < end; ++row) {
      if (row % step == 0) WeighRow(cells, row, weight.ptr<uint8_t>(row));
    }
  });
  walls_.LeaveOut(cells, step, weight);
  for (int row = 0; row < weight.rows; ++row) {
    if (row % step != 0) std::copy_n(weight.ptr<uint8_t>(row - row % step), weight.cols, weight.ptr<uint8_t>(row));
  }
}

void AnyonesSkin::WeighRow(const CellColours &cells, int row, uint8_t *weights) const {
  const CellColours wide{cells.luma, wide_u_, wide_v_, cells.shade_free};
  for (int column = 0; column < cells.luma.cols; column += kLanes) {
    ShadeFreeLanes colours = cells.From(row, column);
    if (cv::v_check_any(colours.luma < All<Lanes>(kLight))) {
      const ShadeFreeLanes around = wide.From(row, column);
      const Lanes own = Part<Lanes>(kDark, kLight, colours.luma);
      colours.blue = around.blue + own * (colours.blue - around.blue);
      colours.red = around.red + own * (colours.red - around.red);
    }
    StoreSome(All<Lanes>(255.0f) * SkinBand(colours) + All<Lanes>(0.5f), cells.luma.cols - column, weights + column);
  }
}

// Of the skin by colour, the heads alone.
void AnyonesSkin::KeepHeads(cv::Mat &weight) const {
  for (int row = 0; row < weight.rows; ++row) {
    const uint8_t *kinds = heads_.Kinds().ptr<uint8_t>(row);
    uint8_t *weights = weight.ptr<uint8_t>(row);
    for (int column = 0; column < weight.cols; ++column) {
      if (kinds[column] < HeadPatches::kFirstHead) weights[column] = 0;
    }
  }
}

// Beside a head, a plain place is skin as far as it has that head's colour: an arm, and no board.
void AnyonesSkin::LeaveOutPlainPlaces(const CellColours &cells, cv::Mat &weight) {
  std::array<std::optional<SkinModel>, HeadPatches::kMostHeads> models;
  for (int head = 0; head < heads_.Count(); ++head) {
    samples_.clear();
    for (int row = 0; row < weight.rows; row += 2) {
      for (int column = row / 2 % 2; column < weight.cols; column += 2) {
        if (heads_.Kinds().at<uint8_t>(row, column) == HeadPatches::kFirstHead + head &&
            weight.at<uint8_t>(row, column) >= kSample)
          samples_.push_back(cells.At(row, column));
      }
    }
    models[static_cast<size_t>(head)] = SkinModel::Learn(samples_);
  }
  for (int row = 0; row < weight.rows; ++row) {
    const uint8_t *kinds = heads_.Kinds().ptr<uint8_t>(row);
    uint8_t *weights = weight.ptr<uint8_t>(row);
    for (int column = 0; column < weight.cols; ++column) {
      if (weights[column] == 0 || kinds[column] != HeadPatches::kPlain) continue;
      float most = 0.0f;
      for (const auto &model : models) {
        if (model) most = std::max(most, model->Weight(cells.At(row, column), kHeadSlack));
      }
      weights[column] = static_cast<uint8_t>(static_cast<float>(weights[column]) * most);
    }
  }
}

}  // namespace lumivex
