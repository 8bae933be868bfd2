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

constexpr float kNearestNostril = 0.06F;
constexpr float kNostrilStep = 0.0125F;

const std::vector<float> &BellsAside() {
  static const std::vector<float> bells = [] {
    std::vector<float> made;
    for (float x = kNearestNostril; x <= 0.27F; x += kNostrilStep)
      made.push_back(Bell(x - kNostrilAside, kNostrilAsideSpread));
    return made;
  }();
  return bells;
}

// A row in which nostrils may lie.
struct NostrilRow {
  const float *spots;
  float y;
  float bell;
};

std::vector<NostrilRow> RowsOfNostrils(const FaceCues &face) {
  std::vector<NostrilRow> rows;
  for (int row = face.NearestRow(0.5F); row <= face.NearestRow(0.84F); ++row) {
    const float y = face.Y(static_cast<float>(row));
    rows.push_back({face.spots.ptr<float>(row), y, Bell(y - kNostrilHeight, kNostrilSpread)});
  }
  return rows;
}

// The darkest spot on one side of a nose whose middle is `aside`.
Nostril FindNostril(const FaceCues &face, const std::vector<NostrilRow> &rows, float sign, float aside) {
  const std::vector<float> &bells = BellsAside();
  Nostril best;
  for (size_t i = 0; i < bells.size(); ++i) {
    const float x = aside + sign * (kNearestNostril + kNostrilStep * static_cast<float>(i));
    const int column = face.NearestColumn(x);
    for (const NostrilRow &row : rows) {
      const float here = row.spots[column] * row.bell * bells[i];
      if (here <= best.strength) continue;
      best.strength = here;
      best.place = {x, row.y};
    }
  }
  return best;
}

}  // namespace

// How far the head is turned is known about; a longer or a shorter nose goes farther aside, or not so far.
Nose FindNose(const FaceCues &face) {
  const std::vector<NostrilRow> rows = RowsOfNostrils(face);
  std::array<Nostril, 2> best;
  float best_score = 0;
  const float expected = face.Aside(kNostrilDepth);
  for (int step = -4; step <= 4; ++step) {
    const float off = 0.045F * static_cast<float>(step);
    const float aside = expected + off;
    const Nostril left = FindNostril(face, rows, -1, aside);
    const Nostril right = FindNostril(face, rows, 1, aside);
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
