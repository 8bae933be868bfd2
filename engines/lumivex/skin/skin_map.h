// Where the skin of a frame is.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>
#include <vector>

#include "faces/faces.h"
#include "pixels/nv12_view.h"
#include "pixels/row_bands.h"
#include "pixels/yuv_space.h"
#include "skin/anyones_skin.h"
#include "skin/cell_colours.h"
#include "skin/known_people.h"
#include "skin/small_spots.h"

namespace lumivex {

// With faces in view, skin is what has the colour of theirs; where nobody has been seen it is what has the colour of
// anyone's; and so it is, beside those who have been, where something looks like the head of one more.
// Owns: those who are known, and the maps of one frame size. Borrows: the frame, for the call. Threads: one at a time.
class SkinMap {
 public:
  // False when there is none. All maps below have one value for each cell of 4 by 4 pixels and hold until the next
  // call. `mean_luma` is that of the cells, CV_32F.
  bool Find(const Nv12View &view, const YuvSpace &space, const cv::Mat &mean_luma, const Faces &faces,
            const RowBands &bands = RowBands());

  // Of a frame of the same size, whose skin is to stay where it is: MeanU and MeanV alone.
  void MeasureChroma(const Nv12View &view, const RowBands &bands);

  const cv::Mat &Weight() const { return weight_; }  // CV_8U: 0 no skin to 255 skin, edges feathered
  const cv::Mat &Plain() const { return Spots().Any() ? plain_ : weight_; }  // the same without the spots
  const SmallSpots &Spots() const { return anyones_.Spots(); }               // none on those who are known
  const cv::Mat &InFace() const { return in_face_; }                         // CV_8U: 255 inside a known face
  const cv::Mat &MeanU() const { return mean_u_; }                           // CV_32F: codes
  const cv::Mat &MeanV() const { return mean_v_; }                           // CV_32F: codes
  float EyeDistance() const { return people_.EyeDistance(); }            // of the largest person, pixels; 0 without one
  const std::optional<OwnColour> &Own() const { return people_.Own(); }  // empty where nobody is known
  // Where somebody is known: CV_8U, not 0 where skin is that of somebody whose face is not. Null: nowhere.
  const cv::Mat *Others() const { return Own() && anyones_.AnyHead() ? &others_ : nullptr; }
  // SkinModel::Contrast of the person whose face is the nearest to the cell; 1 without one.
  float ContrastAt(int row, int column) const { return people_.ContrastAt(row, column); }
  // Whether any cell that reaches into the pixel row holds skin; `scale` pixel rows make a cell.
  bool RowHasSkin(int pixel_row, int scale) const;
  cv::Range RowsWithSkin() const;  // of cells: from the first one to behind the last

 private:
  void DrawFaces(const Faces &faces, const cv::Size &cells);
  void WeighCells(const CellColours &cells, const YuvSpace &space, int height, const RowBands &bands);
  void AddOthers();
  void Feather();
  void LeaveOutSpots();
  bool NoteRows();

  KnownPeople people_;
  AnyonesSkin anyones_;
  cv::Mat mean_u_;
  cv::Mat mean_v_;
  cv::Mat weight_;
  cv::Mat others_;  // beside known people, the skin of those who are not; then whether a cell's is
  cv::Mat plain_;
  cv::Mat in_face_;
  cv::Mat features_;
  std::vector<uint8_t> rows_;  // per row of cells: holds any skin
};

}  // namespace lumivex
