// A makeup out of its folder, ready to be laid on faces.
#pragma once

#include <cstdint>
#include <memory>
#include <opencv2/core.hpp>
#include <optional>
#include <string>
#include <vector>

#include "makeup/makeup_color.h"
#include "makeup/makeup_file.h"

namespace lumivex {

struct MakeupLayer {
  // Red, green, blue, alpha, the colours multiplied by alpha; each picture half the size of the one before.
  std::vector<cv::Mat> pictures;
  MakeupBlend blend = MakeupBlend::kNormal;
  float opacity = 1.0f;
  std::vector<MakeupPin> pins;  // on the first picture
  cv::Rect seen;                // of the first picture: all that is not clear
};

struct MakeupResource {
  std::string folder;
  std::vector<MakeupLayer> layers;
  std::optional<MakeupColor> color;  // in place of layers

  int64_t Pixels() const;  // of the layers' first pictures
};

struct MakeupLoad {
  std::shared_ptr<const MakeupResource> resource;  // null when the folder is no good
  std::string file;                                // what is no good, why, and what to do about it
  std::string reason;
  std::string remedy;
};

inline constexpr int kMostMakeupSide = 4096;  // pixels of a layer's picture

inline constexpr int64_t kMostMakeupPixels = int64_t{1} << 25;  // of all layers that are read at once

MakeupLoad LoadMakeup(const std::string &folder, int64_t most_pixels = kMostMakeupPixels);
// Reads no file. `resource` is "color:RRGGBB".
MakeupLoad MakeupOfColor(const std::string &resource, const std::string &key);

}  // namespace lumivex
