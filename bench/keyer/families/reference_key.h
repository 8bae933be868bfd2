// The effect file's arithmetic on the CPU, in floats: to choose its constants with, and to hold its passes against.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "keyer_scene.h"

namespace keyer_bench {

// From a pixel's clearness x to alpha, for one way of mixing; see Alpha below.
struct Ramp {
  float gain, lift, from, to, bend, black;
  float dark;   // how much opaquer than its chroma a dark front is
  float noise;  // of the backing's deviation, in the black point
};

struct KeyConstants {
  Ramp encoded{0.855f, 1.175f, 0.55f, 0.74f, -0.14f, 0.033f, 6.0f, 0.70f};
  Ramp encoded_blue{0.89f, 1.20f, 0.49f, 0.70f, 0.20f, 0.042f, 8.0f, 0.90f};
  Ramp linear{0.91f, 0.55f, 0.615f, 0.735f, -0.15f, 0.138f, 6.3f, 0.06f};
  Ramp linear_blue{1.04f, 0.32f, 0.635f, 0.765f, -0.025f, 0.081f, 5.0f, 0.845f};
  float ratio_near = 0.08f, ratio_far = 0.16f;  // how far a backing's chroma over luma may lie from the key's
  float ratio_rate = 0.5f;                      // at which the map follows the backing's own ratio
  float inner = 0.5f, outer = 0.824f;           // parts of the module's two tangents
  // Of the evidence, from encoded to linear.
  float mixing_green = 0.28f, mixing_green_to = 0.48f, mixing_blue = 0.17f, mixing_blue_to = 0.33f;
  float mixing_rate = 0.25f;  // at which the key follows it, once it is known
  // Before blue: how far a hue lies aside of the key's, as a part of what it has of the key beyond `aside_from`, and
  // that at least `aside_least`; how much less of the key a greener one stands for, how much more a redder one with
  // less than `redder_to` of the key.
  float aside_from = 0.28f, aside_least = 0.15f;
  float greener = 1.72f, greener_from = 0.07f;
  // Noise of a dim key's hues: by one over the key's length, beyond that of a bright one.
  float hue_noise = 0.004f, bright_key = 1.65f;
  float redder = 6.0f, redder_from = -0.05f, redder_gain = 1.5f, redder_to = 0.5f;
  float forced_mixing = -1;  // 0 to 1: in place of the detector
  bool map = true;
  bool denoise = true;
  float snap = 0.075f;  // within which the temporal filter arrives at opaque or clear
  // The temporal filter: the variance of the key's noise from the backing's deviation, squared, and that at most; how
  // fast a key drifts that does not move; how far the gate opens beyond which part of the variance.
  float time_base = 0.002f, time_noise = 5.04f, time_more_noise = 1555.0f, noise_most = 0.13f / 36;
  float blue_noise = 1.25f;  // of the deviation before blue, whose key the hue makes noisier
  float drift = 0.0001f, gate = 6, gate_from = 0.16f;
};

struct KeySettings {
  float similarity = 0.667f, alpha_down = 0.75f, alpha_up = 0.25f, denoise_q = 15;
};

// What the temporal filter keeps of each pixel.
struct KeyState {
  std::vector<float> key;   // transparency
  std::vector<float> gain;  // of its last step
};
// One step of it, in place. `deviation` is the backing's, `denoise_q` the setting.
void FilterOverTime(KeyState &state, const std::vector<float> &raw, const std::vector<float> &deviation, uint32_t width,
                    uint32_t height, float denoise_q, const KeyConstants &constants = {});

class ReferenceKey {
 public:
  ReferenceKey(uint32_t width, uint32_t height, const Colour &key, const KeyConstants &constants = {},
               const KeySettings &settings = {});

  // The alpha of the next frame.
  std::vector<float> Next(const std::vector<uint8_t> &rgba);

  float Mixing() const { return mixing_; }  // 0 encoded, 1 linear
  struct Cell {
    float light, deviation, certainty, ratio;
  };
  const std::vector<Cell> &Map() const { return map_; }
  // Of the mixing, above `mixing_green` or `mixing_blue` linear.
  double Evidence() const { return weight_ > 0 ? evidence_ / weight_ : 0; }

 private:
  struct Pixel {
    float raw, along, luma, most, aside;  // aside: from -1, redder than the key, to 1, greener
  };
  Pixel At(const uint8_t *rgba) const;
  void FindCells(const std::vector<uint8_t> &rgba);
  void FollowRatio();
  void UpdateMap(const std::vector<uint8_t> &rgba);
  void FillMap();
  void FindMixing(const std::vector<uint8_t> &rgba);
  Cell MapAt(float u, float v) const;
  float Transparency(const Pixel &pixel, const Cell &cell) const;

  uint32_t width_, height_;
  KeyConstants constants_;
  KeySettings settings_;
  bool blue_ = false;
  float x_ = 0, y_ = 1, z_ = 0;        // the key's direction and length
  float key_luma_ = 0, key_most_ = 0;  // its luma, the greater of its other channels
  float inner_ = 0, outer_ = 0;
  std::vector<Cell> cells_, map_;
  float ratio_ = 1;
  float mixing_ = 0.5f, map_mixing_ = 0.5f;  // the last one found; the one that the map has
  uint64_t frame_ = 0;
  double evidence_ = 0, weight_ = 0;
  bool started_ = false;
  KeyState state_;
};

}  // namespace keyer_bench
