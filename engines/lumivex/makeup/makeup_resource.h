// A makeup out of its folder, ready to be laid on faces.
#pragma once

#include <memory>
#include <opencv2/core.hpp>
#include <string>
#include <vector>

#include "makeup/makeup_file.h"

namespace lumivex {

struct MakeupLayer {
  // Red, green, blue, alpha, the colours multiplied by alpha; each picture half the size of the one before.
  std::vector<cv::Mat> pictures;
  MakeupBlend blend = MakeupBlend::kNormal;
  float opacity = 1.0f;
  std::vector<MakeupPin> pins;  // on the first picture
};

struct MakeupResource {
  std::string folder;
  std::vector<MakeupLayer> layers;
};

struct MakeupLoad {
  std::shared_ptr<const MakeupResource> resource;  // null when the folder is no good
  std::string file;                                // what is no good, why, and what to do about it
  std::string reason;
  std::string remedy;
};

inline constexpr int kMostMakeupSide = 4096;  // pixels of a layer's picture

MakeupLoad LoadMakeup(const std::string &folder);

}  // namespace lumivex
