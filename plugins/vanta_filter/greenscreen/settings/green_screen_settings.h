// The green screen's settings record.
#pragma once

#include <cstdint>

namespace vanta {

// Defaults stand from construction; a config text is a patch on what stands. docs/green-screen.md says what each one
// does to the picture.
struct GreenScreenSettings {
  float key_color[3] = {0.0f, 1.0f, 0.0f};  // red, green, blue, 0 to 1, in the picture's own encoding
  float similarity = 0.667f;                // 0 to 1: how wide a range of hues counts as the key's
  bool spill_sup_enabled = true;
  int32_t spill_sup_method = 5;      // 0 to 8
  float spill_sup_scale_r = 0.5f;    // these three -5 to 5
  float spill_sup_scale_g = -1.0f;   //
  float spill_sup_scale_b = 0.0f;    //
  float spill_sup_color_mix = 0.5f;  // 0 to 1
  float spill_sup_red_w = 0.85f;     // 0.5 to 1
  float spill_sup_offset = 0.55f;    // 0 to 1
  float spill_sup_y_thres = 0.9f;    // 0 to 1
  int32_t blue_bg_flag = 0;          // 1: the key is blue
  bool denoise_enabled = true;       //
  float a_kalman_q = 15.0f;          // 0 to 100: how fast the key follows the picture
  bool alpha_adjust_enabled = true;  // false: the three below return to their defaults
  float alpha_down = 0.75f;          // 0 to 2
  float alpha_up = 0.25f;            // 0 to 1
  float alpha_shrink = 0.0f;         // 0 to 10 pixels
  bool fg_alpha_blur_enabled = false;
  float fg_alpha_blur_intensity = 0.0f;  // 0 to 1
};

// Below it two settings count as the same, and an amount as none.
inline constexpr float kGreenScreenEpsilon = 0.000001f;

// What the effect gets as `spill_sup_flag`: 0 when the suppression is off, else the method.
inline int32_t SpillSupFlag(const GreenScreenSettings &settings) {
  if (!settings.spill_sup_enabled || settings.spill_sup_method < 0) return 0;
  return settings.spill_sup_method > 8 ? 8 : settings.spill_sup_method;
}

}  // namespace vanta
