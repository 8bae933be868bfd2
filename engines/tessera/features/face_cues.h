// A part of a face, cut out upright, as the cues in which its features show.
#pragma once

#include <opencv2/core.hpp>

#include "vision/picture_view.h"

namespace tessera {

// Which part, in units of the face's placement while it looks ahead, and pixels per unit.
struct CueWindow {
  cv::Rect2f area;
  float density = 0;
  float depth = 0;       // of what stays where it is in the window when the head turns, see FaceDepth
  bool cut_off = false;  // in darker skin, what is brighter than it is no surroundings of lines and spots
};

// The face from the brows to below the eyes, and from below the eyes to the chin of an open mouth.
inline const CueWindow kUpperFace{{-1.0F, -0.65F, 2.0F, 0.95F}, 44, 0};
inline const CueWindow kLowerFace{{-0.8F, 0.3F, 1.6F, 1.6F}, 36, 0.22F, true};

// Pictures of floats, as bright as if the face were well lit, cut out where the part stands when the head is turned
// aside by an angle of the tangent `turn`. Threads: any.
class FaceCues {
 public:
  FaceCues(const cv::Mat &luma, const Placement &placement, const CueWindow &window, float turn = 0);

  // Adds the colour of a lower face.
  void AddColour(const PictureView &picture, const Placement &placement);

  // Columns and rows of a place in units, and back. The nearest ones are inside.
  float Column(float x) const;
  float Row(float y) const;
  int NearestColumn(float x) const;
  int NearestRow(float y) const;
  // How far something of that depth stands aside in the window, because the head is turned.
  float Aside(float depth) const { return turn_ * (depth - window_.depth); }
  // How far the light of a dark picture was raised, and its noise with it.
  float Gain() const { return gain_; }
  // Of a lower face: the brightness of its skin above black, in `light`, where it is dark; else 0.
  float DarkSkin() const { return dark_skin_; }
  // The brightness of a place of `light` above black.
  float Brightness(float code) const;
  // How much redder, in `red`, a tongue is than lips of dark skin can be.
  float TongueRed() const;
  float X(float column) const;
  float Y(float row) const;

  cv::Mat light;      // luma codes
  cv::Mat lines;      // how much darker than its wider surroundings, luma codes
  cv::Mat line_ends;  // the same, to tell where a line ends
  cv::Mat spots;      // for small dark places
  // How far from the skin's colour, chroma codes: V (towards red) and U (towards blue). Empty without colour.
  cv::Mat red;
  cv::Mat blue;

 private:
  cv::Mat Blurred(const cv::Mat &picture, float units) const;

  cv::Mat Cut(const cv::Mat &plane, const Placement &placement, bool halved) const;

  CueWindow window_;
  float turn_ = 0;
  float gain_ = 1;
  float dark_skin_ = 0;
};

}  // namespace tessera
