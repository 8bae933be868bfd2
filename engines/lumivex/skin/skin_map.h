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
#include "skin/head_patches.h"
#include "skin/skin_colour.h"
#include "skin/small_spots.h"

namespace lumivex {

// The skin of those who are known, on the whole, in codes of the frame.
struct OwnColour {
  float black = 0.0f;  // luma code of black
  float luma = 0.0f;   // codes above black
  float u = 0.0f;      // codes from grey
  float v = 0.0f;
};

// With faces in view, skin is what has the colour of theirs: each face teaches a model of its own, which follows the
// light from frame to frame and is kept for a while after the face is gone: who turns away still has skin. Where nobody
// has been seen it is what has the colour of anyone's; and so it is, beside those who have been, where something looks
// like the head of one more.
// Owns: the models and the maps of one frame size. Borrows: the frame, for the call. Threads: one at a time.
class SkinMap {
 public:
  // False when there is none. All maps below have one value for each cell of 4 by 4 pixels and hold until the next
  // call. `mean_luma` is that of the cells, CV_32F.
  bool Find(const Nv12View &view, const YuvSpace &space, const cv::Mat &mean_luma, const Faces &faces,
            const RowBands &bands = RowBands());

  // Of a frame of the same size, whose skin is to stay where it is: MeanU and MeanV alone.
  void MeasureChroma(const Nv12View &view, const RowBands &bands);

  const cv::Mat &Weight() const { return weight_; }  // CV_8U: 0 no skin to 255 skin, edges feathered
  const cv::Mat &Plain() const { return spots_.Any() ? plain_ : weight_; }  // the same without the spots
  const SmallSpots &Spots() const { return spots_; }                        // none on those who are known
  const cv::Mat &InFace() const { return in_face_; }                        // CV_8U: 255 inside a known face
  const cv::Mat &MeanU() const { return mean_u_; }                          // CV_32F: codes
  const cv::Mat &MeanV() const { return mean_v_; }                          // CV_32F: codes
  float EyeDistance() const { return eye_distance_; }           // of the largest person, pixels; 0 without one
  const std::optional<OwnColour> &Own() const { return own_; }  // empty where nobody is known
  // Whether the cell's skin is that of somebody whose face is not known.
  bool IsAnyones(int row, int column) const {
    return !own_ || (heads_.Count() > 0 && others_.at<uint8_t>(row, column));
  }
  // SkinModel::Contrast of the person whose face is the nearest to the cell; 1 without one.
  float ContrastAt(int row, int column) const;
  // Whether any cell that reaches into the pixel row holds skin; `scale` pixel rows make a cell.
  bool RowHasSkin(int pixel_row, int scale) const;
  cv::Range RowsWithSkin() const;  // of cells: from the first one to behind the last

 private:
  struct Person {
    SkinModel model;
    FramePoint place;  // between the eyes
    FramePoint right;  // the face's axes, of length 1
    FramePoint down;
    float eye_distance = 0.0f;
    float wall = 0.0f;  // of the picture beside and above the head, what has the colour of this skin
    int frames_unseen = 0;
    float certain_far = 1.0f;  // 0 to 1: how much its colour alone says far from the face
  };

  void MeetPeople(const Faces &faces, const ShadeFree &shade_free, const cv::Mat &mean_luma);
  float MeasureWall(const Person &person, const ShadeFree &shade_free, const cv::Mat &mean_luma) const;
  template <typename Value>
  static Value NearFace(const Person &person, const Value &place_x, const Value &place_y);
  void MeasureOwnColour(const YuvSpace &space, const cv::Mat &mean_luma);
  void WeighCells(const ShadeFree &shade_free, const YuvSpace &space, int height, const cv::Mat &mean_luma,
                  const RowBands &bands);
  void WeighAnyones(const ShadeFree &shade_free, const cv::Mat &mean_luma, const RowBands &bands);
  void BlurDarkChroma();
  void LeaveOutWalls(const ShadeFree &shade_free, const cv::Mat &mean_luma, int step);
  void MeasureWallLight(const ShadeFree &shade_free, const cv::Mat &mean_luma, const SkinModel &wall, int step);
  void LeaveOutKnownHeads();
  void LeaveOutPlainPlaces(const ShadeFree &shade_free, const cv::Mat &mean_luma);
  void KeepHeads();
  void AddOthers();
  void TakeSamples(const Face &face, const ShadeFree &shade_free, const cv::Mat &mean_luma);
  void WeighRow(const ShadeFree &shade_free, int row, const float *luma);
  void WeighAnyonesRow(const ShadeFree &shade_free, int row, const float *luma);
  Lanes WeightOf(const ShadeFreeLanes &colours, const Lanes &inside, const Lanes &x, float y) const;

  std::vector<Person> people_;
  std::vector<Person> seen_;              // scratch
  std::vector<ShadeFreeColour> samples_;  // scratch
  float eye_distance_ = 0.0f;
  std::optional<OwnColour> own_;
  cv::Mat mean_u_;
  cv::Mat mean_v_;
  cv::Mat wide_u_;  // means over more cells, for the dark parts of a picture without a known face
  cv::Mat wide_v_;
  cv::Mat weight_;
  cv::Mat others_;  // where nobody is known, scratch; else the skin of those who are not, CV_8U
  cv::Mat wall_;    // scratch: the weights without what is a wall
  cv::Mat plain_;
  cv::Mat in_face_;
  cv::Mat features_;
  HeadPatches heads_;
  SmallSpots spots_;
  std::vector<cv::Vec2f> wall_sums_;   // scratch
  std::vector<float> per_wall_light_;  // scratch: for each column, one over the wall's luma
  std::vector<uint8_t> rows_;          // per row of cells: holds any skin
};

}  // namespace lumivex
