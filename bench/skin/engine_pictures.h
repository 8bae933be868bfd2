// Pictures through the open engine, which searches their faces itself.
#pragma once

#include <opencv2/core.hpp>
#include <string>
#include <utility>
#include <vector>

#include "vanta_filter/engine/lumivex_api.h"

namespace skin_bench {

inline constexpr int kWidth = 1280;
inline constexpr int kHeight = 720;

// NV12.
struct Planes {
  cv::Mat y;
  cv::Mat uv;  // CV_8UC2

  cv::Mat Bgr() const;
};

Planes PlanesOf(const cv::Mat &bgr);

struct Look {
  float smooth = 0.0F;
  bool unknown = false;  // the picture is called upside down, so that no face is found
  int called = 180;      // degrees by which it is then said to be turned
  std::vector<std::pair<LXBeautyType, float>> beauty{};
  std::vector<std::pair<int, float>> deform{};

  // "whiten=0.4,jaw=1": names of beauty values and of shapes. False where one is not known.
  bool Add(const std::string &text);
};

// The picture after some frames: as soon as a face is found, or after half a second. `faces`: how many are found then.
Planes Through(const Planes &before, const Look &look, int *faces = nullptr);

}  // namespace skin_bench
