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

// Turned by `angle` (radians, clockwise as seen).
cv::Point2f Turned(cv::Point2f point, float angle);

// A window of the plane, turned upright: `window` in units of `placement`, `density` pixels per unit. Outside of the
// plane its border goes on. With `halved` the plane has half the picture's size (chroma).
cv::Mat CutUpright(const cv::Mat &plane, const Placement &placement, const cv::Rect2f &window, float density,
                   bool halved = false);

// The picture as it is, or raised where it is dark: a cascade passes over places without contrast.
cv::Mat Lit(const cv::Mat &luma);

}  // namespace tessera
