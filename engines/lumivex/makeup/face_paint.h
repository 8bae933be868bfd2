// Where makeup of one kind lies on a face, as soft masks drawn from its points.
#pragma once

#include <opencv2/core.hpp>
#include <vector>

#include "faces/faces.h"
#include "makeup/makeup_color.h"

namespace lumivex {

struct PaintMask {
  cv::Rect place;   // within the frame, begins on even pixels
  cv::Mat covered;  // CV_8U of the place's size: 0 nothing to 255 all
};

// The parts follow every point by itself, so they bend with the face. An open mouth and open eyes are left out.
// Owns: the masks. Threads: one at a time.
class FacePaint {
 public:
  // One mask for the lips, one for each side for everything else; fewer where the frame does not hold them. Good until
  // the next call.
  const std::vector<PaintMask> &Draw(const Face &face, MakeupPart part, const cv::Size &frame);

 private:
  using Outline = std::vector<FramePoint>;
  enum class Side { kLeft, kRight };

  void DrawLips(const Face &face);
  void DrawBlush(const Face &face, Side side);
  void DrawShadow(const Face &face, Side side);
  void DrawLiner(const Face &face, Side side);
  void DrawBrow(const Face &face, Side side);
  // Fills the outline with an edge that is `soft` pixels wide. Null where the frame does not hold any of it.
  PaintMask *Fill(const Outline &outline, float soft);
  // Takes that part of the outline's inside away, 0 to 1.
  void Cut(PaintMask &mask, const Outline &outline, float soft, float part);

  cv::Size frame_;
  std::vector<PaintMask> masks_;
  cv::Mat cut_;
};

}  // namespace lumivex
