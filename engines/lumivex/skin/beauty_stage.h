// Smooths, whitens and reddens skin.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <vector>

#include "pixels/cell_grid.h"
#include "pixels/nv12_view.h"
#include "pixels/row_window.h"
#include "skin/skin_chroma.h"

namespace lumivex {

struct BeautyStrength {
  float smooth = 0.0f;  // each 0 to 1, 0 is off
  float whiten = 0.0f;
  float ruddy = 0.0f;

  bool Any() const { return smooth > 0.0f || whiten > 0.0f || ruddy > 0.0f; }
};

// Smoothing is a guided filter (He, Sun and Tang, "Guided image filtering", 2010) whose statistics are taken per cell
// of 4 by 4 pixels from all of their pixels, and whose linear model is applied at full size. What it takes away is
// split: blemishes go with the strength, pixel-sized texture (pores) with its square. Owns: scratch maps for one frame
// size. Borrows: the frame, for each call. Threads: one at a time.
class BeautyStage {
 public:
  // Finds the skin of the frame; false when there is none, and then there is nothing to apply.
  bool FindSkin(const Nv12View &view, const YuvSpace &space);
  void Apply(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength);

 private:
  void MeasureSkin(const Nv12View &view);
  void FitModel(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength);
  void BuildMaps(const YuvSpace &space, const BeautyStrength &strength);
  void ApplyLuma(const Nv12View &view, const YuvSpace &space, const BeautyStrength &strength);
  void ApplyChroma(const Nv12View &view, const BeautyStrength &strength);
  // Whether any cell that reaches into the pixel row holds skin; `scale` pixel rows make a cell.
  bool RowHasSkin(int pixel_row, int scale) const;

  SkinChroma skin_chroma_;
  RowWindow rows_;

  // One value per cell.
  cv::Mat mean_;    // luma
  cv::Mat square_;  // luma, squared
  cv::Mat skin_;    // 0 no skin to 255 skin, edges feathered
  cv::Mat window_mean_;
  cv::Mat gain_;  // the model is gain * luma + offset
  cv::Mat offset_;
  cv::Mat mean_gain_;
  cv::Mat mean_offset_;
  std::vector<uint8_t> skin_rows_;  // per row of cells: holds any skin

  CellMap removal_;  // 1/32768ths of the detail that smoothing takes away
  CellMap base_;     // 1/32nds of a level that take its place
  CellMap whiten_;   // 1/32768ths
  CellMap weight_;   // skin, in 1/32768ths

  // One row of the frame.
  std::vector<int16_t> removal_row_;
  std::vector<int16_t> base_row_;
  std::vector<int16_t> whiten_row_;
  std::vector<int16_t> weight_row_;
  std::vector<uint8_t> out_row_;
};

}  // namespace lumivex
