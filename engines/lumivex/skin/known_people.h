// The people whose faces have been seen, and where their skin is.
#pragma once

#include <cstdint>
#include <opencv2/core.hpp>
#include <optional>
#include <vector>

#include "faces/faces.h"
#include "skin/cell_colours.h"
#include "skin/skin_colour.h"

namespace lumivex {

// The skin of those who are known, on the whole, in codes of the frame.
struct OwnColour {
  float black = 0.0f;  // luma code of black
  float luma = 0.0f;   // codes above black
  float u = 0.0f;      // codes from grey
  float v = 0.0f;
};

// Each face teaches a model of its own, which follows the light from frame to frame and is kept for a while after the
// face is gone: who turns away still has skin.
// Owns: the models. Threads: one at a time to meet them, any to read.
class KnownPeople {
 public:
  // The faces of the next frame. `in_face` and `features` as DrawFaceRegions draws them.
  void Meet(const Faces &faces, const CellColours &cells, const cv::Mat &in_face, const cv::Mat &features);

  bool Any() const { return !people_.empty(); }
  // Of the largest person, pixels; 0 without one.
  float EyeDistance() const { return eye_distance_; }
  // SkinModel::Contrast of the person whose face is the nearest to the cell; 1 without one.
  float ContrastAt(int row, int column) const;
  // How much each cell of a row has of their skin, 0 to 255.
  void WeighRow(const CellColours &cells, const cv::Mat &in_face, int row, uint8_t *weights) const;
  // Takes their heads, with hair and breast, out of a map of weights, CV_8U.
  void LeaveOut(cv::Mat &weight) const;

  // The mean over the faces' own skin, which Own() then tells; kept while no face is in view. `weight` says where skin
  // is, `black` is the luma code of black.
  void MeasureOwnColour(const CellColours &cells, float black, const cv::Mat &weight, const cv::Mat &in_face);
  const std::optional<OwnColour> &Own() const { return own_; }  // empty where nobody is known

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

  static float MeasureWall(const Person &person, const CellColours &cells);
  template <typename Value>
  static Value NearFace(const Person &person, const Value &place_x, const Value &place_y);
  Lanes WeightOf(const ShadeFreeLanes &colours, const Lanes &inside, const Lanes &x, float y) const;

  std::vector<Person> people_;
  std::vector<Person> seen_;              // scratch
  std::vector<ShadeFreeColour> samples_;  // scratch
  float eye_distance_ = 0.0f;
  std::optional<OwnColour> own_;
};

}  // namespace lumivex
