// Fits a green screen's key to takes: the backing's colour, how evenly it is lit, the camera's noise, the spill.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vanta_keying/small_picture.h"

namespace vanta_keying {

struct KeyFit {
  Rgb color{};           // of the backing, where its light is middling
  double darkest = 1;    // the backing's light, as a ratio to the key's: where it is least,
  double brightest = 1;  // and where it is greatest
  double noise = 0;      // standard deviation of the key's channel on the backing, in levels of 255
  double hue_reach = 0;  // degrees to either side of the key's hue within which 99 of 100 pixels of the backing lie
  // Part of the front, 0 to 1, away from its edges, in which the key's channel leads both others by more than 8 levels
  // and three times the noise. A front that is green itself counts, before a green backing.
  double spill = 0;

  bool Uneven() const { return brightest > darkest * 1.25; }
};

// From one or more frames of one take, of any size. Empty where they show no green or blue backing. Threads: any.
std::optional<KeyFit> FitKey(const std::vector<KeyPicture> &pictures);

// The green screen's config text for it: the colour, and what else helps beyond the filter's defaults.
std::string KeyFitConfig(const KeyFit &fit);

// A sentence: "backing uneven (0.71 to 1.08 of the key), noise σ 3.1, 12 % spill".
std::string DescribeKeyFit(const KeyFit &fit);

}  // namespace vanta_keying
