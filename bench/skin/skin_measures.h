// What is left of spots, of the edges of eyes and lips, and of the rest of a picture.
#pragma once

#include <array>
#include <opencv2/core.hpp>
#include <vector>

#include "engine_pictures.h"
#include "fixtures/portrait/skin_tones.h"

namespace skin_bench {

using vanta_test::PortraitPicture;
using vanta_test::Spot;

// What the spots differ from the same picture without them, in the middle of each.
struct Contrast {
  double luma = 0.0;
  double chroma = 0.0;
};
Contrast SpotContrast(const Planes &with, const Planes &without, const std::vector<Spot> &spots);

// Of the edges of eyes and lips, a part.
double EdgesKept(const PortraitPicture &picture, const Planes &before, const Planes &after);

// The part of the picture with the face.
cv::Mat Cut(const Planes &planes, const PortraitPicture &face);

// What is no skin: above and beside the head, and the collar.
inline const std::array<cv::Rect, 4> kOutside = {cv::Rect{0, 0, 400, 500}, cv::Rect{880, 0, 400, 500},
                                                 cv::Rect{0, 560, 500, 160}, cv::Rect{780, 560, 500, 160}};

}  // namespace skin_bench
