#include "skin/skin_map.h"

#include <algorithm>
#include <iterator>
#include <opencv2/imgproc.hpp>

#include "pixels/cell_grid.h"
#include "skin/face_regions.h"

namespace lumivex {
namespace {

constexpr int kFeather = 5;  // cells across which the edge of skin is softened

}  // namespace

bool SkinMap::Find(const Nv12View &view, const YuvSpace &space, const cv::Mat &mean_luma, const Faces &faces,
                   const RowBands &bands) {
  MeasureChroma(view, bands);
  DrawFaces(faces, mean_luma.size());
  const ShadeFree shade_free(space);
  const CellColours cells{mean_luma, mean_u_, mean_v_, shade_free};
  people_.Meet(faces, cells, in_face_, features_);
  WeighCells(cells, space, view.height, bands);
  Feather();
  if (Spots().Any()) LeaveOutSpots();
  people_.MeasureOwnColour(cells, static_cast<float>(space.black), weight_, in_face_);
  return NoteRows();
}

void SkinMap::MeasureChroma(const Nv12View &view, const RowBands &bands) {
  MeasureCellChroma(view, bands, mean_u_, mean_v_);
}

void SkinMap::DrawFaces(const Faces &faces, const cv::Size &cells) {
  for (cv::Mat *map : {&in_face_, &features_}) {
    map->create(cells, CV_8U);
    std::fill_n(map->data, map->total(), uint8_t{0});  // cv::Mat::setTo allocates
  }
  for (const Face &face : faces) DrawFaceRegions(face, kCell, in_face_, features_);
}

void SkinMap::WeighCells(const CellColours &cells, const YuvSpace &space, int height, const RowBands &bands) {
  if (!people_.Any()) {
    anyones_.Find(cells, space, height, people_, bands, weight_);
    return;
  }
  anyones_.Find(cells, space, height, people_, bands, others_);
  weight_.create(others_.size(), CV_8U);
  bands.Run(weight_.rows, kCellRowsOfBand, [&](int first, int end, int) {
    for (int row = first; row < end; ++row) people_.WeighRow(cells, in_face_, row, weight_.ptr<uint8_t>(row));
  });
  if (anyones_.AnyHead()) AddOthers();
}

// A cell is of one of those who are not known where it has more of their skin.
void SkinMap::AddOthers() {
  for (int row = 0; row < weight_.rows; ++row) {
    uint8_t *weights = weight_.ptr<uint8_t>(row);
    uint8_t *others = others_.ptr<uint8_t>(row);
    for (int column = 0; column < weight_.cols; ++column) {
      const bool more = others[column] > weights[column];
      if (more) weights[column] = others[column];
      others[column] = more;
    }
  }
}

void SkinMap::Feather() {
  cv::blur(weight_, weight_, cv::Size(kFeather, kFeather), cv::Point(-1, -1), cv::BORDER_REPLICATE);
  // After the feathering, which would carry skin over their edges.
  for (int row = 0; row < weight_.rows; ++row) {
    const uint8_t *features = features_.ptr<uint8_t>(row);
    uint8_t *weights = weight_.ptr<uint8_t>(row);
    for (int column = 0; column < weight_.cols; ++column) {
      weights[column] = static_cast<uint8_t>(weights[column] * (255 - features[column]) / 255);
    }
  }
}

void SkinMap::LeaveOutSpots() {
  plain_.create(weight_.size(), CV_8U);
  for (int row = 0; row < weight_.rows; ++row) {
    const uint8_t *weights = weight_.ptr<uint8_t>(row);
    const uint8_t *spots = Spots().Drawn().ptr<uint8_t>(row);
    uint8_t *plain = plain_.ptr<uint8_t>(row);
    std::copy_n(weights, weight_.cols, plain);
    if (!Spots().InRow(row)) continue;
    for (int column = 0; column < weight_.cols; ++column)
      plain[column] = static_cast<uint8_t>(weights[column] * (255 - spots[column]) / 255);
  }
}

bool SkinMap::NoteRows() {
  bool any = false;
  rows_.resize(static_cast<size_t>(weight_.rows));
  for (int row = 0; row < weight_.rows; ++row) {
    const uint8_t *weights = weight_.ptr<uint8_t>(row);
    const bool found = std::any_of(weights, weights + weight_.cols, [](uint8_t weight) { return weight != 0; });
    rows_[static_cast<size_t>(row)] = found;
    any = any || found;
  }
  return any;
}

bool SkinMap::RowHasSkin(int pixel_row, int scale) const {
  const int row = pixel_row / scale;
  const int first = std::max(row - 1, 0);
  const int last = std::min(row + 1, weight_.rows - 1);
  return std::any_of(rows_.begin() + first, rows_.begin() + last + 1, [](uint8_t any) { return any != 0; });
}

cv::Range SkinMap::RowsWithSkin() const {
  const auto holds = [](uint8_t any) { return any != 0; };
  const auto first = std::find_if(rows_.begin(), rows_.end(), holds);
  const auto behind = std::find_if(rows_.rbegin(), std::make_reverse_iterator(first), holds).base();
  return {static_cast<int>(first - rows_.begin()), static_cast<int>(behind - rows_.begin())};
}

}  // namespace lumivex
