#include <array>
#include <vector>

#include "features/face_features.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

// Of an average face, and how far others are off.
constexpr float kNostrilHeight = 0.67F;
constexpr float kNostrilSpread = 0.08F;
constexpr float kNostrilAside = 0.16F;
constexpr float kNostrilAsideSpread = 0.08F;
constexpr float kNostrilDepth = 0.26F;
constexpr float kAsideSpread = 0.12F;

}  // namespace

namespace {

struct Nostril {
  cv::Point2f place;
  float strength = 0;
};

// The darkest spot on one side of a nose whose middle is `aside`.
Nostril FindNostril(const FaceCues &face, float sign, float aside) {
  static const std::vector<float> bells = [] {
    std::vector<float> made;
    for (float x = 0.06F; x <= 0.27F; x += 0.0125F) made.push_back(Bell(x - kNostrilAside, kNostrilAsideSpread));
    return made;
  }();
  Nostril best;
  for (int row = face.NearestRow(0.5F); row <= face.NearestRow(0.84F); ++row) {
    const float y = face.Y(static_cast<float>(row));
    const float bell = Bell(y - kNostrilHeight, kNostrilSpread);
    for (size_t i = 0; i < bells.size(); ++i) {
      const float x = aside + sign * (0.06F + 0.0125F * static_cast<float>(i));
      const float here = face.spots.at<float>(row, face.NearestColumn(x)) * bell * bells[i];
      if (here <= best.strength) continue;
      best.strength = here;
      best.place = {x, y};
    }
  }
  return best;
}

}  // namespace

// How far the head is turned is known about; a longer or a shorter nose goes farther aside, or not so far.
Nose FindNose(const FaceCues &face) {
  std::array<Nostril, 2> best;
  float best_score = 0;
  const float expected = face.Aside(kNostrilDepth);
  for (int step = -4; step <= 4; ++step) {
    const float off = 0.045F * static_cast<float>(step);
    const float aside = expected + off;
    const Nostril left = FindNostril(face, -1, aside);
    const Nostril right = FindNostril(face, 1, aside);
    const float score = (left.strength + right.strength) * Bell(off, kAsideSpread);
    if (score <= best_score) continue;
    best_score = score;
    best = {left, right};
  }
  Nose nose;
  const float both = best[0].strength + best[1].strength;
  if (both <= 0) return nose;
  nose.nostrils.x = (best[0].place.x + best[1].place.x) * 0.5F - expected;
  nose.nostrils.y = (best[0].place.y * best[0].strength + best[1].place.y * best[1].strength) / both;
  nose.confidence = Clamped01((std::min(best[0].strength, best[1].strength) - 1.5F) / 5);
  return nose;
}

}  // namespace tessera
