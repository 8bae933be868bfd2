// A picture as the runner's stages see it, and places in it.
#pragma once

#include <opencv2/core.hpp>

namespace tessera {

// Borrows the planes of an I420 picture. Chroma has half the size, rounded up, or is empty.
struct PictureView {
  cv::Mat y;
  cv::Mat u;
  cv::Mat v;
};

// Where a face stands and how large it is: the frame in which the mean shape is given. The origin lies between the
// pupils, the unit is the distance between them, x goes to the right eye, y to the chin.
struct Placement {
  cv::Point2f origin;  // pixels
  float unit = 0;      // pixels
  float angle = 0;     // radians, clockwise as seen

  cv::Point2f ToPicture(cv::Point2f point) const;
  cv::Point2f FromPicture(cv::Point2f point) const;
};

// The placement whose pupils are those two points.
Placement PlacementOfEyes(cv::Point2f left, cv::Point2f right);

// A placement can also say where one frame stands in another: its origin and unit are then in units of that one.
inline Placement SamePlacement() {
  return {{0, 0}, 1, 0};
}
// `inner` stands in the frame `outer`; the result stands where `outer` does.
Placement Composed(const Placement &outer, const Placement &inner);
// Where `place` stands in the frame `frame`: Composed(frame, Relative(frame, place)) is `place`.
Placement Relative(const Placement &frame, const Placement &place);
// That part of the way from SamePlacement() to `relative`: 0 is none, 1 all of it.
Placement PartOf(const Placement &relative, float part);
// In pixels of a picture `scale` times as large.
Placement Scaled(const Placement &placement, float scale);

// Turned by `angle` (radians, clockwise as seen).
cv::Point2f Turned(cv::Point2f point, float angle);

// A window of the plane, turned upright: `window` in units of `placement`, `density` pixels per unit. Outside of the
// plane its border goes on. With `halved` the plane has half the picture's size (chroma). A head that is turned aside
// is `stretch` times as high as `placement` says.
cv::Mat CutUpright(const cv::Mat &plane, const Placement &placement, const cv::Rect2f &window, float density,
                   bool halved = false, float stretch = 1);

// Contrast of its own for each part of the picture, of which there are `parts` across and down.
cv::Mat Evened(const cv::Mat &luma, double most_contrast, int parts);

// Whether it is a dark face: what evened light shows counts for these alone, since it shows faces in noise, too.
bool IsDark(const cv::Mat &luma);

// All that is brighter than the code `white` cut off, and what is left spread over all codes. In a very dark face the
// whites of the eyes are brighter than the skin, where the cascades know eyes as dark; cut off at the skin's own
// brightness, they are as it.
cv::Mat CutOffAbove(const cv::Mat &luma, double white);

// Where to cut off, for a face whose skin has that code.
double WhiteForSkin(double skin);

// The code in the middle of all.
double MedianCode(const cv::Mat &luma);

// That of cheeks and nose, in an upright patch that shows `window` (units of a placement), `density` pixels per unit.
double SkinCode(const cv::Mat &patch, const cv::Rect2f &window, float density);

// The picture as it is, or raised where it is dark: a cascade passes over places without contrast.
cv::Mat Lit(const cv::Mat &luma);

}  // namespace tessera
