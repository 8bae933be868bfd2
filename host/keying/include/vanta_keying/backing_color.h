// Finds the colour of a green or blue backing.
#pragma once

#include <optional>
#include <vector>

#include "vanta_keying/small_picture.h"

namespace vanta_keying {

// The middle of the most frequent green or blue hue, near the left, upper and right border of all pictures or, where
// there is too little of it there, in the whole of them. Empty where no such hue is frequent.
std::optional<Rgb> FindBackingColor(const std::vector<SmallPicture> &pictures);

}  // namespace vanta_keying
