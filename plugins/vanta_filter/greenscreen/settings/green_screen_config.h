// Reads the green screen's config text, a JSON patch on the settings.
#pragma once

#include <optional>
#include <string>

#include "greenscreen/settings/green_screen_settings.h"

namespace vanta {

struct ConfigChange {
  bool changed = false;    // a setting differs from what stood
  bool lut_dirty = false;  // one that the key table is made from
};

// Applies the keys of `text` to `settings`, each clamped to its range; a key that is missing or of a type that it does
// not take is skipped, without a log line. Empty, and nothing is touched, when the text is no JSON object.
std::optional<ConfigChange> ApplyGreenScreenConfig(const std::string &text, GreenScreenSettings &settings);

// The nearest float; beyond the range of floats, where a plain cast is undefined, the greatest of that sign.
float NarrowToFloat(double value);

// 1 where `color` (red, green, blue) is clearly blue, else 0.
int32_t DetectBlueKey(const float (&color)[3]);

}  // namespace vanta
