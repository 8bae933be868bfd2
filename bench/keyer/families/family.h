// Families of synthetic takes before a backing: what each has that the others have not.
#pragma once

#include <cstdint>
#include <vector>

#include "keyer_scene.h"

namespace keyer_bench {

enum class Hair { kStraight, kCurly, kBlond, kDark };
enum class Cloth { kPlain, kNearKey, kWhite };  // kNearKey: olive, yellow and bluish; kWhite: white and grey
enum class Pick { kMiddle, kBrightest, kDarkest };

struct Family {
  const char *name = "";
  bool plain = false;   // held to the stricter bars
  bool linear = false;  // front and backing mix in linear light; else in encoded values
  // The scene.
  float fall_off = 0.3f;  // of the backing's light, from its brightest to its darkest place
  float folds = 0.0f;     // creases of the backing, part of its light
  float tint = 0.0f;      // of the backing's hue, from one side to the other
  float exposure = 1.0f;  // of the whole picture, in encoded values
  Hair hair = Hair::kStraight;
  Cloth cloth = Cloth::kPlain;
  float veil = 0.0f, smoke = 0.0f, glass = 0.0f;  // greatest alpha of each
  float spill = 0.5f;                             // of the backing's light on the front
  float defocus = 0.0f;                           // standard deviation, pixels
  float speed = 2.0f;                             // pixels a frame, while the subject moves
  float shutter = 0.0f;                           // part of a frame over which the movement blurs
  // The camera.
  float noise = 3.0f;       // standard deviation, in levels of 255
  float noise_size = 0.0f;  // standard deviation of the noise's grain, pixels; 0: each pixel for itself
  float sharpen = 0.0f;     // of an unsharp mask
  float quantiser = 0.0f;   // of 8x8 blocks, as a multiple of JPEG's own tables; 0: none
  int bit_rate = 0;         // of a real encoder, bits a second at 30 frames; 0: none
  Pick pick = Pick::kMiddle;
};

const std::vector<Family> &Families();

// Every take starts with a still frame, moves, and rests again.
struct FamilyTake {
  uint32_t width = 0, height = 0;
  bool blue = false;
  Colour key{};         // as a user picks it: the mean of a few pixels of the first frame's backing
  int first_still = 0;  // index of the first frame from which on the subject rests
  struct Frame {
    std::vector<uint8_t> rgba;
    std::vector<float> alpha;    // what a blend of encoded values needs
    std::vector<float> optical;  // the alpha that made the picture
  };
  std::vector<Frame> frames;
};

FamilyTake MakeTake(const Family &family, bool blue, uint32_t seed, int moving_frames = 5, int still_frames = 12);

}  // namespace keyer_bench
