// Fades spots, blotches, dark circles and the lines from nose to mouth on known faces.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>

#include "faces/faces.h"
#include "pixels/cell_grid.h"
#include "pixels/mapped_rows.h"
#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"
#include "pixels/window_means.h"
#include "pixels/yuv_space.h"
#include "skin/skin_map.h"

namespace lumivex {

struct RetouchStrength {
  float even_tone = 0.0f;  // each 0 to 1, 0 is off
  float spots = 0.0f;
  float dark_circles = 0.0f;
  float smile_lines = 0.0f;

  bool Any() const { return even_tone > 0.0f || spots > 0.0f || dark_circles > 0.0f || smile_lines > 0.0f; }
};

// Works with the light of the skin around a place: what is darker than that is lifted towards it (spots, lines), wide
// patches are shifted as a whole (circles, blotches), and colour is drawn to that of the skin around or of the whole
// face. The texture of single pixels stays.
// Owns: scratch maps for one frame size. Borrows: the frame, for the call. Threads: one at a time.
class RetouchStage {
 public:
  // `skin` and `cell_luma` as found on this frame. Does nothing where no face taught the skin.
  void Apply(const Nv12View &view, const YuvSpace &space, const SkinMap &skin, const cv::Mat &cell_luma,
             const Faces &faces, const RetouchStrength &strength, const RowBands &bands = RowBands());

 private:
  void Measure(const SkinMap &skin, const cv::Mat &cell_luma, const RowBands &bands);
  void DrawMasks(const Faces &faces, const RetouchStrength &strength);
  void BuildMaps(const YuvSpace &space, const SkinMap &skin, const cv::Mat &cell_luma, const Faces &faces,
                 const RetouchStrength &strength, const RowBands &bands);
  float ShareAt(int row, int column) const { return static_cast<float>(share_.at<uint8_t>(row, column)) / 255.0f; }
  void BuildCell(const YuvSpace &space, const SkinMap &skin, const RetouchStrength &strength, int row, int column,
                 const cv::Vec3f &cheek);
  cv::Vec3f CheekColour(const SkinMap &skin, const cv::Mat &cell_luma, const Faces &faces) const;
  void ApplyLuma(const Nv12View &view, const RowBands &bands);
  void ApplyChroma(const Nv12View &view, const RowBands &bands);

  MappedRows rows_;
  WindowMeans means_;
  // One value per cell, CV_32F but for the masks, which are CV_8U.
  cv::Mat share_;        // mask: skin of known faces
  cv::Mat window_luma_;  // means over a window as wide as a spot's surroundings
  cv::Mat window_u_;
  cv::Mat window_v_;
  cv::Mat wide_luma_;  // over one as wide as a cheek
  cv::Mat under_eyes_;
  cv::Mat lines_;
  int first_row_ = 0;  // rows of cells with skin of faces: first_row_ <= row < end_row_
  int end_row_ = 0;

  CellMap lift_;      // 1/32768ths of the way up to the light around
  CellMap around_;    // 1/64ths of a level: that light
  CellMap shift_;     // 1/64ths of a level, with a sign
  CellMap pull_;      // 1/32768ths of the way to the two that follow
  CellMap target_u_;  // 1/64ths of a code
  CellMap target_v_;
};

}  // namespace lumivex
