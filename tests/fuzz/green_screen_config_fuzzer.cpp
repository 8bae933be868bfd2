// The green screen's config text from anywhere: whatever it holds, every setting stays within its range, and a
// second run of the same text leaves the settings as they are.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "greenscreen/settings/green_screen_config.h"
#include "require.h"

namespace {

void RequireRange(float value, float low, float high, const char *what) {
  Require(value >= low && value <= high, what);  // false for what is no number, too
}

void RequireRanges(const vanta::GreenScreenSettings &s) {
  for (const float channel : s.key_color) RequireRange(channel, 0, 1, "key_color");
  RequireRange(s.similarity, 0, 1, "similarity");
  Require(s.spill_sup_method >= 0 && s.spill_sup_method <= 8, "spill_sup_method");
  RequireRange(s.spill_sup_scale_r, -5, 5, "spill_sup_scale_r");
  RequireRange(s.spill_sup_scale_g, -5, 5, "spill_sup_scale_g");
  RequireRange(s.spill_sup_scale_b, -5, 5, "spill_sup_scale_b");
  RequireRange(s.spill_sup_color_mix, 0, 1, "spill_sup_color_mix");
  RequireRange(s.spill_sup_red_w, 0.5f, 1, "spill_sup_red_w");
  RequireRange(s.spill_sup_offset, 0, 1, "spill_sup_offset");
  RequireRange(s.spill_sup_y_thres, 0, 1, "spill_sup_y_thres");
  Require(s.blue_bg_flag == 0 || s.blue_bg_flag == 1, "blue_bg_flag");
  RequireRange(s.a_kalman_q, 0, 100, "a_kalman_q");
  RequireRange(s.alpha_down, 0, 2, "alpha_down");
  RequireRange(s.alpha_up, 0, 1, "alpha_up");
  RequireRange(s.alpha_shrink, 0, 10, "alpha_shrink");
  RequireRange(s.fg_alpha_blur_intensity, 0, 1, "fg_alpha_blur_intensity");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string text(reinterpret_cast<const char *>(data), size);
  vanta::GreenScreenSettings settings;
  const auto change = vanta::ApplyGreenScreenConfig(text, settings);
  RequireRanges(settings);
  if (!change) return 0;
  Require(change->changed || !change->lut_dirty, "a table to be made anew without a change");
  // Values that the text itself takes back count as changes each time; the settings stay all the same.
  const vanta::GreenScreenSettings once = settings;
  Require(vanta::ApplyGreenScreenConfig(text, settings).has_value(), "the same text was refused");
  Require(std::memcmp(&once, &settings, sizeof(once)) == 0, "the same text changed the settings twice");
  return 0;
}
