// Synthetic takes before a backing, with the alpha that made them.
#pragma once

#include <cstdint>
#include <vector>

namespace keyer_bench {

struct Colour {
  float r, g, b;  // 0 to 1, encoded
};

struct SceneOptions {
  uint32_t width = 640;
  uint32_t height = 360;
  bool blue = false;       // the backing; green else
  float noise = 3.0f;      // standard deviation of Gaussian noise, in levels of 255
  int moving_frames = 12;  // the subject moves
  int still_frames = 18;   // then it rests
};

// One frame of a take.
struct Take {
  std::vector<uint8_t> rgba;  // as a camera gives it: noise, BT.709, 8 bits, 4:2:0
  std::vector<float> alpha;   // truth
  std::vector<Colour> front;  // what stands before the backing, without spill
};

// A person of sorts: a head with hair, a defocused and a sharp side, a veil, patches of cloth, spill that fades
// inwards, before an unevenly lit backing. Threads: any; each call computes its frame anew and from the same seeds.
class Scene {
 public:
  explicit Scene(const SceneOptions &options) : options_(options) {}

  int Frames() const { return options_.moving_frames + options_.still_frames; }
  bool IsStill(int frame) const { return frame >= options_.moving_frames; }
  const SceneOptions &Options() const { return options_; }
  // What a user picks from the picture's corner.
  Colour Backing() const;
  Take Frame(int frame) const;

 private:
  SceneOptions options_;
};

// The colours of the patches, in the order from left to right: white, black, grey, yellow, blue, red, olive, skin.
inline constexpr Colour kPalette[8] = {{0.94f, 0.94f, 0.94f}, {0.06f, 0.06f, 0.06f}, {0.5f, 0.5f, 0.5f},
                                       {0.9f, 0.8f, 0.15f},   {0.15f, 0.25f, 0.75f}, {0.75f, 0.12f, 0.1f},
                                       {0.45f, 0.45f, 0.2f},  {0.85f, 0.65f, 0.55f}};
inline constexpr int kYellowPatch = 3;

}  // namespace keyer_bench
