// Where the skin of nobody in particular is: of those whose faces were not found.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "pixels/row_bands.h"
#include "pixels/yuv_space.h"
#include "skin/cell_colours.h"
#include "skin/head_patches.h"
#include "skin/known_people.h"
#include "skin/skin_walls.h"
#include "skin/small_spots.h"

namespace lumivex {

// Where nobody has been seen, skin is what has the colour of anyone's and is no wall; where something looks like a
// head, a plain place is skin only in that head's colour. Beside those who are known it is only what looks like the
// head of one more.
// Owns: the heads of the frame before, the spots, and maps of one frame size. Threads: one at a time.
class AnyonesSkin {
 public:
  // `height` of the frame in pixels. `weight` is given one value for each cell, CV_8U: 0 no skin to 255 skin.
  void Find(const CellColours &cells, const YuvSpace &space, int height, const KnownPeople &people,
            const RowBands &bands, cv::Mat &weight);

  bool AnyHead() const { return heads_.Count() > 0; }
  const SmallSpots &Spots() const { return spots_; }  // that were found

 private:
  void WeighByColour(const CellColours &cells, bool beside_known, const RowBands &bands, cv::Mat &weight);
  void WeighRow(const CellColours &cells, int row, uint8_t *weights) const;
  void KeepHeads(cv::Mat &weight) const;
  void LeaveOutPlainPlaces(const CellColours &cells, cv::Mat &weight);

  cv::Mat wide_u_;  // means over more cells, for the dark parts of a picture
  cv::Mat wide_v_;
  SkinWalls walls_;
  HeadPatches heads_;
  SmallSpots spots_;
  std::vector<ShadeFreeColour> samples_;  // scratch
};

}  // namespace lumivex
