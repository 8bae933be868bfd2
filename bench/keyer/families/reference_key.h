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
  float dark;   // how much opaquer than its chroma a dark front is, by its darkness alone
  float noise;  // of the backing's deviation, in the black point
  float steep;  // how much later a front is whole where the key changes from pixel to pixel
};

struct KeyConstants {
  Ramp encoded{1.04f, 0.55f, 0.5473f, 0.7154f, -0.22f, 0.045f, 2.1436f, 0.669f, 0.0522f};
  Ramp encoded_blue{1.054f, 0.18f, 0.42f, 0.5689f, -0.284f, 0.058f, 2.579f, 0.114f, 0.77f};
  Ramp linear{0.9458f, 0.4959f, 0.6437f, 0.673f, -0.2265f, 0.1394f, 2.2571f, 0.0f, -0.2244f};
  Ramp linear_blue{1.02f, 0.114f, 0.725f, 0.8139f, 0.096f, 0.108f, 3.099f, -1.018f, 0.272f};
  float white_power = 0.25f, white_power_blue = 0.375f;  // of the white that is left to what is hidden
  float black_least = 0.04f;
  float ratio_near = 0.08f, ratio_far = 0.16f;  // how far a backing's chroma over luma may lie from the key's
  float ratio_rate = 0.5f;                      // at which the map follows the backing's own ratio
  float inner = 0.5f, outer = 0.824f;           // parts of the module's two tangents
  // Of the evidence, from encoded to linear.
  float mixing_green = 0.28f, mixing_green_to = 0.38f, mixing_blue = 0.17f, mixing_blue_to = 0.33f;
  float mixing_part_green = 0.2f, mixing_part_blue = 0.35f;  // how far from half and half a middle may be mixed
  float mixing_rate = 0.25f;                                 // at which the key follows it, once it is known
  // Before blue: how far a hue lies aside of the key's, as a part of what it has of the key beyond `aside_from`, and
  // that at least `aside_least`; how much less of the key a greener one stands for, how much more a redder one with
  // less than `redder_to` of the key.
  float aside_from = 0.256f, aside_least = 0.234f;
  float greener = 0.984f, greener_from = 0.078f;
  float bright_key = 1.65f;  // one over the length of a key from which on a redder hue counts wholly
  float redder = 4.526f, redder_from = -0.002f, redder_gain = 0.6f, redder_to = 0.65f, redder_from_whole = 0.392f;
  // At an edge a hue beside the key's is mixed, not a colour of its own: how much of the key it gets back, before green
  // by how much the key changes from pixel to pixel, and that at most.
  float mixed_blue = 0.16f, mixed_green = 0.12f, mixed_steep = 2.25f, steep_most = 0.3f;
  // Before blue: of a hue's effect, what noise and a steep key take; what of the greener one's light mixed leaves; how
  // much more it has inside the front, and how much sooner it makes the front whole.
  float greener_noise = 15.8f, redder_noise = 6.619f, greener_steep = 2.89f, greener_linear = 0.2f;
  float greener_inside = 16.67f, greener_whole = 1.553f;
  // Of the backing seen around, from which on a place is not inside; what noise takes of that it is.
  float inside_to = 0.08f, inside_noise = 50;
  // Before blue, in linear light: how much more a key of another length than this hides.
  float usual_key = 0.6f, key_length = -0.363f;
  // Beyond which darkness counts, and not where the key is whole.
  float dark_from = 0.02f, dark_from_blue = 0.013f, dark_key = 8;
  float forced_mixing = -1;  // 0 to 1: in place of the detector
  bool map = true;
  bool denoise = true;
  float snap = 0.075f;  // within which the temporal filter arrives at opaque or clear
  // The temporal filter: the variance of the key's noise from the backing's deviation, squared, and that at most; how
  // fast a key drifts that does not move; how far the gate opens beyond which part of the variance.
  float time_base = 0.0086f, time_noise = 9, time_more_noise = 2900, noise_most = 0.13f / 36;
  float blue_noise = 1.6f;  // of the deviation before blue, whose key the hue makes noisier
  float drift = 0.00005f, gate = 60, gate_from = 0.2f;
  // The same for what is new around, so many pixels outside the four, with that part of their own.
  int gate_reach = 4;
  float wide_own = 0.45f, wide_gate = 150, wide_gate_from = 0.048f;
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
    float light, deviation, certainty, ratio;  // in the map, certainty: that no backing is near
  };
  const std::vector<Cell> &Map() const { return map_; }
  // Of the mixing, above `mixing_green` or `mixing_blue` linear.
  double Evidence() const { return weight_ > 0 ? evidence_ / weight_ : 0; }

 private:
  struct Pixel {
    float raw, along, luma, most, aside;  // aside: from -1, redder than the key, to 1, greener
    float mixed;                          // of the key, where it is steep
  };
  Pixel At(const uint8_t *rgba) const;
  void FindCells(const std::vector<uint8_t> &rgba);
  void FollowRatio();
  void UpdateMap(const std::vector<uint8_t> &rgba);
  void FillMap();
  void FindMixing(const std::vector<uint8_t> &rgba);
  Cell MapAt(float u, float v) const;
  float Transparency(const Pixel &pixel, float steep, const Cell &cell) const;

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
