#include <algorithm>
#include <cmath>
#include <vector>

#include "features/face_features.h"
#include "features/mouth_gap.h"
#include "features/mouth_line.h"
#include "features/mouth_rows.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

constexpr float kCornerDepth = 0.14F;
constexpr float kUsualHalf = 0.4F;  // from the middle of an average mouth to a corner

constexpr float kLipReach = 0.17F;  // columns that tell of the lips, to either side of the middle
constexpr float kThickestLip = 0.27F;
constexpr float kFaintRed = 1.5F;  // chroma codes

// Of `from`..`to` (y in units) the y at which the profile falls most on the way down, or rises where `sign` is -1;
// finer than a row.
float Steepest(const FaceCues &face, const std::vector<float> &profile, float from, float to, float sign) {
  const int last = static_cast<int>(profile.size()) - 4;
  const int first_row = std::clamp(cvRound(face.Row(from)), 3, last);
  const int last_row = std::clamp(cvRound(face.Row(to)), first_row, last);
  const auto fall = [&](int row) {
    const auto at = [&profile](int near) { return profile[static_cast<size_t>(near)]; };
    return sign * (at(row - 2) + at(row - 1) - at(row + 1) - at(row + 2));
  };
  int best = first_row;
  for (int row = first_row; row <= last_row; ++row) {
    if (fall(row) > fall(best)) best = row;
  }
  const float before = fall(best - 1);
  const float after = fall(best + 1);
  const float bend = 2 * fall(best) - before - after;
  const float part = bend > 0 ? std::clamp(0.5F * (after - before) / bend, -0.5F, 0.5F) : 0;
  return face.Y(static_cast<float>(best) + part);
}

// The lips' outer edges: where the red of their colour begins above the gap, and ends below it.
void FindLips(const FaceCues &face, Mouth &mouth) {
  if (face.red.empty()) return;
  std::vector<float> red = RowsOf(face, face.red, mouth, kLipReach);
  const std::vector<float> blue = RowsOf(face, face.blue, mouth, kLipReach);  // lips may be less yellow, too
  for (size_t row = 0; row < red.size(); ++row) red[row] += std::max(blue[row], 0.0F);
  const float top = Steepest(face, red, mouth.gap_top - kThickestLip, mouth.gap_top - 0.04F, -1);
  const float bottom = Steepest(face, red, mouth.gap_bottom + 0.06F, mouth.gap_bottom + kThickestLip, 1);
  const float upper = MostOf(face, red, top, mouth.gap_top) - MeanOf(face, red, top - 0.08F, top - 0.04F);
  const float lower = MostOf(face, red, mouth.gap_bottom, bottom) - MeanOf(face, red, bottom + 0.04F, bottom + 0.08F);
  mouth.top = top;
  mouth.bottom = bottom;
  mouth.lips_confidence = Clamped01((std::min(upper, lower) - kFaintRed) / (kClearRed - kFaintRed));
}

// 1 for corners that a mouth may have; a line in a beard may go anywhere, and shine on dark lips cuts it short.
float Plausibility(const Mouth &mouth) {
  const auto beyond = [](float value, float most) { return std::max(0.0F, value - most); };
  const float width = mouth.right.x - mouth.left.x;
  const float off = beyond(std::abs(mouth.left.x + mouth.right.x) * 0.5F, 0.12F) +
                    beyond(std::abs(mouth.left.y - mouth.right.y), 0.12F) + beyond(width, 1.05F) +
                    beyond(-width, -0.62F);
  return Clamped01(1 - off / 0.12F);
}

}  // namespace

Mouth FindMouth(const FaceCues &face, const Nose &nose) {
  const MouthLine line = FindMouthLine(face, nose);
  Corner left = MouthLineEnd(face, line, -1);
  Corner right = MouthLineEnd(face, line, 1);
  // A crease in a face whose light is raised may be noise that was raised with it: how high it lies is told by all of
  // it, where it ends is not.
  if (line.crease) {
    const float raised = line.faint * std::max(1.0F, face.Gain());
    const float sure = Clamped01((std::min(left.strength, right.strength) / raised - 1) / 3);
    const float aside = face.Aside(kCornerDepth);
    left.place.x = Mixed(aside - kUsualHalf, left.place.x, sure);
    right.place.x = Mixed(aside + kUsualHalf, right.place.x, sure);
  }
  Mouth mouth;
  mouth.left = left.place;
  mouth.right = right.place;
  const auto middle = static_cast<size_t>(cvRound(face.Column((left.place.x + right.place.x) * 0.5F)) - line.first);
  // Between teeth and lower lip lies another line; it is further below the corners than that of a closed mouth.
  const float corners = (left.place.y + right.place.y) * 0.5F;
  mouth.line = std::min(face.Y(static_cast<float>(line.rows[middle])), corners + 0.08F);
  mouth.confidence = Clamped01((std::min(left.strength, right.strength) / line.faint - 1) / 3);
  FindMouthGap(face, mouth);
  FindLips(face, mouth);
  const float plausible = Plausibility(mouth);
  mouth.confidence *= plausible;
  mouth.gap_confidence *= plausible;
  mouth.lips_confidence *= plausible;
  mouth.left.x -= face.Aside(kCornerDepth);
  mouth.right.x -= face.Aside(kCornerDepth);
  return mouth;
}

}  // namespace tessera
