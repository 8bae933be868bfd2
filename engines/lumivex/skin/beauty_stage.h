// Smooths, whitens and reddens skin.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "faces/faces.h"
#include "pixels/cell_grid.h"
#include "pixels/lanes.h"
#include "pixels/mapped_rows.h"
#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"
#include "pixels/window_means.h"
#include "skin/skin_map.h"

namespace lumivex {

struct BeautyStrength {
  float smooth = 0.0f;  // each 0 to 1, 0 is off
  float whiten = 0.0f;
  float ruddy = 0.0f;

  bool Any() const { return smooth > 0.0f || whiten > 0.0f || ruddy > 0.0f; }
};

// Smoothing is a guided filter (He, Sun and Tang, "Guided image filtering", 2010) whose statistics are taken per cell
// of 4 by 4 pixels from all of their pixels that are skin, and whose linear model is applied at full size. What it
// takes away is split: blemishes go with the strength, pixel-sized texture (pores) more slowly. Chroma goes the same
// way, so that redness fades with the spot that is red. On a known face the window follows the distance of its eyes,
// and more counts as a blemish, since what has to stay (eyes, brows, lips, nostrils) is no skin on the map. Owns:
// scratch maps for one frame size. Borrows: the frame, for each call. Threads: one at a time.
class BeautyStage {
 public:
  // Finds the skin of the frame; false when there is none, and then there is nothing to apply. With `keep` skin that
  // was found stays where it was on the frame before, if that had the same size.
  bool FindSkin(const Nv12View &view, const YuvSpace &space, const Faces &faces, const RowBands &bands = RowBands(),
                bool keep = false);
  void Apply(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength,
             const RowBands &bands = RowBands());
  // Of the frame that FindSkin saw last; luma is the mean of each cell, CV_32F.
  const SkinMap &Skin() const { return skin_; }
  const cv::Mat &CellLuma() const { return mean_; }
  // How much sharpening the frame that FindSkin saw last may get: what was smoothed is not to be sharpened again.
  const CellMap &ShareToSharpen(float smooth);

 private:
  // How far the chroma of four cells beside each other goes to a place, 0 to 1, and that place.
  struct Pull {
    Lanes part;
    Lanes u;
    Lanes v;
  };

  void Fit(const YuvSpace &space, const BeautyStrength &strength, const cv::Range &rows, const RowBands &bands);
  void FitRow(int row, const YuvSpace &space, const BeautyStrength &strength);
  Lanes Contrasts(int row, int column) const;
  void KeepEdges(int row);
  void BuildLumaRow(int row, const YuvSpace &space, const BeautyStrength &strength);
  void BuildChromaRow(int row, const BeautyStrength &strength);
  Pull SmoothingPull(int row, int column, float redness) const;
  Pull WhiteningPull(int row, int column, float whiten) const;
  void ApplyLuma(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength, const RowBands &bands);
  void ApplyChroma(const Nv12View &view, const BeautyStrength &strength, const RowBands &bands);

  SkinMap skin_;
  MappedRows rows_;
  WindowMeans means_;
  bool found_ = false;
  int height_ = 1;  // pixels of the frame

  // One value per cell.
  cv::Mat mean_;    // luma
  cv::Mat square_;  // luma, squared
  cv::Mat window_mean_;
  cv::Mat window_square_;
  cv::Mat gain_;  // the model is gain * luma + offset
  cv::Mat offset_;
  cv::Mat mean_gain_;
  cv::Mat mean_offset_;
  cv::Mat window_u_;
  cv::Mat window_v_;

  CellMap share_to_sharpen_;
  CellMap removal_;         // 1/32768ths of the detail that smoothing takes away
  CellMap base_;            // 1/32nds of a level that take its place
  CellMap whiten_;          // 1/32768ths
  CellMap weight_;          // skin, in 1/32768ths
  CellMap chroma_removal_;  // 1/32768ths of the way to the two that follow
  CellMap target_u_;        // 1/64ths of a code
  CellMap target_v_;
};

}  // namespace lumivex
