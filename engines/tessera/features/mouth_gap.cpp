#include "features/mouth_gap.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "features/mouth_rows.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

constexpr float kGapReach = 0.1F;    // columns that tell of the gap, to either side of the middle
constexpr float kGapAround = 0.3F;   // above and below it lie skin and lips
constexpr float kLineWidth = 0.05F;  // between the edges of the line of closed lips

// The dark between the lips, in rows: from `top` to `bottom` it is darker than `level`.
struct Dark {
  int peak = 0;  // its darkest row
  int top = 0;
  int bottom = 0;
  float level = 0;    // luma codes, like the following
  float darkest = 0;  // in `peak`
  float lips = 0;     // beside it
  float top_y = 0;    // finer than rows
  float bottom_y = 0;
};

// Of the rows about the line the darkest, rather near to it than further away.
int DarkestRow(const FaceCues &face, const Mouth &mouth) {
  constexpr float kSpread = 0.07F;
  const std::vector<float> dark = RowsOf(face, face.lines, mouth, kGapReach);
  const int first = face.NearestRow(mouth.line - 0.08F);
  const int last = face.NearestRow(mouth.line + 0.16F);
  int peak = first;
  float most = 0;
  for (int row = first; row <= last; ++row) {
    const float here = dark[static_cast<size_t>(row)] * Bell(face.Y(static_cast<float>(row)) - mouth.line, kSpread);
    if (here <= most) continue;
    most = here;
    peak = row;
  }
  return peak;
}

void Widen(const FaceCues &face, const std::vector<float> &light, Dark &dark) {
  const float middle = face.Y(static_cast<float>(dark.peak));
  const int highest = face.NearestRow(middle - kGapAround);
  const int lowest = face.NearestRow(middle + 1.3F * kGapAround);
  while (dark.top > highest && light[static_cast<size_t>(dark.top)] < dark.level) --dark.top;
  while (dark.bottom < lowest && light[static_cast<size_t>(dark.bottom)] < dark.level) ++dark.bottom;
}

Dark FindDark(const FaceCues &face, const Mouth &mouth) {
  constexpr float kFirstLevel = 0.35F;  // of the way from the darkest row to the skin
  constexpr float kBeside = 0.08F;
  const std::vector<float> light = RowsOf(face, face.light, mouth, kGapReach);
  const auto at = [&light](int row) { return light[static_cast<size_t>(row)]; };
  Dark dark;
  dark.peak = dark.top = dark.bottom = DarkestRow(face, mouth);
  dark.darkest = at(dark.peak);
  const float middle = face.Y(static_cast<float>(dark.peak));
  const float skin =
      std::min(MostOf(face, light, middle - kGapAround, middle), MostOf(face, light, middle, middle + kGapAround));
  dark.level = Mixed(dark.darkest, skin, kFirstLevel);
  Widen(face, light, dark);
  // The lips beside it are darker than the skin.
  const float above = face.Y(static_cast<float>(dark.top));
  const float below = face.Y(static_cast<float>(dark.bottom));
  dark.lips = std::min(MostOf(face, light, above - kBeside, above), MostOf(face, light, below, below + kBeside));
  dark.level = Mixed(dark.darkest, dark.lips, 0.5F);
  Widen(face, light, dark);
  const auto edge = [&](int row, int step) {
    if (row == dark.peak) return middle;
    const float part = Crossing(at(row), at(row + step), dark.level);
    return face.Y(static_cast<float>(row) + static_cast<float>(step) * part);
  };
  dark.top_y = edge(dark.top, 1);
  dark.bottom_y = edge(dark.bottom, -1);
  return dark;
}

// The row from `from` to `to` whose red is least.
int Palest(const std::vector<float> &red, int from, int to) {
  const int step = to < from ? -1 : 1;
  int best = from;
  for (int row = from; row != to + step; row += step) {
    if (red[static_cast<size_t>(row)] < red[static_cast<size_t>(best)]) best = row;
  }
  return best;
}

// Teeth below the dark are pale: the gap goes down to where the lower lip's red begins.
void LowerBelowTeeth(const FaceCues &face, const std::vector<float> &red, const Dark &dark, Mouth &mouth) {
  constexpr float kMostTeeth = 0.2F;
  const auto at = [&red](int row) { return red[static_cast<size_t>(row)]; };
  const int pale = Palest(red, dark.bottom, face.NearestRow(dark.bottom_y + kMostTeeth));
  const float pale_y = face.Y(static_cast<float>(pale));
  const float lip = MostOf(face, red, pale_y, pale_y + kGapAround);
  if (lip - at(pale) < kClearRed) return;
  mouth.gap_confidence = 1;
  const float half = (lip + at(pale)) * 0.5F;
  int row = pale;
  while (row + 1 < static_cast<int>(red.size()) && at(row) < half) ++row;
  mouth.gap_bottom = std::max(mouth.gap_bottom, face.Y(static_cast<float>(row) - Crossing(at(row), at(row - 1), half)));
}

// Teeth above it are, too: the gap begins above them, below the upper lip's red.
void RaiseAboveTeeth(const FaceCues &face, const std::vector<float> &red, const Dark &dark, Mouth &mouth) {
  constexpr float kMostTeeth = 0.11F;
  const auto at = [&red](int row) { return red[static_cast<size_t>(row)]; };
  const int last_tooth = face.NearestRow(dark.top_y - kMostTeeth);
  const int pale = Palest(red, dark.top, last_tooth);
  const float lip = MostOf(face, red, dark.top_y - kMostTeeth - 0.1F, face.Y(static_cast<float>(pale)));
  if (lip - at(pale) < kClearRed) return;
  int row = pale;
  while (row > last_tooth && at(row) < (lip + at(pale)) * 0.5F) --row;
  if (row > last_tooth) mouth.gap_top = std::min(mouth.gap_top, face.Y(static_cast<float>(row)));
}

// In dark skin what is between lips is hardly darker than they are; but nothing near them is as bright as teeth.
std::optional<Dark> FindTeethInDarkSkin(const FaceCues &face, const Mouth &mouth) {
  constexpr float kAbove = 0.1F;  // of the line that was found
  constexpr float kBelow = 0.28F;
  constexpr float kLipFrom = 0.25F;  // above the brightest row
  constexpr float kLipTo = 0.09F;
  constexpr float kLeast = 1.45F;       // brightnesses of the upper lip and what is above it
  constexpr float kLeastOfSkin = 1.2F;  // of the skin
  constexpr float kLeastCodes = 10;
  if (face.DarkSkin() <= 0) return std::nullopt;
  const std::vector<float> light = RowsOf(face, face.light, mouth, kGapReach);
  const auto at = [&light](int row) { return light[static_cast<size_t>(row)]; };
  const auto first = light.begin() + face.NearestRow(mouth.line - kAbove);
  const auto last = light.begin() + face.NearestRow(mouth.line + kBelow) + 1;
  Dark teeth;
  teeth.peak = teeth.top = teeth.bottom = static_cast<int>(std::max_element(first, last) - light.begin());
  const float y = face.Y(static_cast<float>(teeth.peak));
  const float lip = MostOf(face, light, y - kLipFrom, y - kLipTo);
  const float bright = face.Brightness(at(teeth.peak));
  if (bright < kLeast * face.Brightness(lip) || bright < kLeastOfSkin * face.DarkSkin() ||
      at(teeth.peak) - lip < kLeastCodes * face.Gain()) {
    return std::nullopt;
  }
  const auto edge = [&](int &row, int step, float beside) {
    const float half = (at(teeth.peak) + beside) * 0.5F;
    const int end = face.NearestRow(y + kLipFrom * static_cast<float>(step));
    while (row != end && at(row + step) > half) row += step;
    const float part = row == end ? 0 : Crossing(at(row), at(row + step), half);
    return face.Y(static_cast<float>(row) + part * static_cast<float>(step));
  };
  teeth.top_y = edge(teeth.top, -1, lip);
  teeth.bottom_y = edge(teeth.bottom, 1, lip);
  return teeth;
}

// In dark skin a tongue is brighter than the lips and far redder. What is so red close below the upper lip may be the
// lower one.
void LowerBelowTongue(const FaceCues &face, const std::vector<float> &red, Mouth &mouth) {
  constexpr float kUpperLip = 0.12F;
  constexpr float kNearest = 0.17F;  // below the upper lip
  constexpr float kThinnestLip = 0.13F;
  constexpr float kFarthest = 0.62F;
  const float least = face.TongueRed();
  if (least <= 0) return;
  const auto at = [&red](int row) { return red[static_cast<size_t>(row)]; };
  const int last = face.NearestRow(mouth.gap_top + kFarthest);
  int tongue = face.NearestRow(mouth.gap_top + 0.5F * kThinnestLip);
  for (int row = tongue; row <= last; ++row) {
    if (at(row) > at(tongue)) tongue = row;
  }
  const float lip = MostOf(face, red, mouth.gap_top - kUpperLip, mouth.gap_top);
  if (at(tongue) - lip < least) return;
  const float half = (at(tongue) + lip) * 0.5F;
  int top = tongue;
  while (top > 0 && at(top - 1) > half) --top;
  int bottom = tongue;
  while (bottom < last && at(bottom + 1) > half) ++bottom;
  if (top == 0 || bottom == last) return;
  const float begin = face.Y(static_cast<float>(top) - Crossing(at(top), at(top - 1), half));
  const float end = face.Y(static_cast<float>(bottom) + Crossing(at(bottom), at(bottom + 1), half));
  if (begin < mouth.gap_top + kNearest && end - begin > kThinnestLip) return;
  mouth.gap_bottom = std::max(mouth.gap_bottom, end);
  mouth.gap_confidence = 1;
}

}  // namespace

void FindMouthGap(const FaceCues &face, Mouth &mouth) {
  constexpr float kFaintGap = 8;  // luma codes
  constexpr float kClearGap = 22;
  const std::optional<Dark> teeth = FindTeethInDarkSkin(face, mouth);
  const Dark dark = teeth ? *teeth : FindDark(face, mouth);
  mouth.gap_confidence = teeth ? 1 : Clamped01((dark.lips - dark.darkest - kFaintGap) / (kClearGap - kFaintGap));
  const float line = teeth ? 0 : std::min(0.5F * kLineWidth, 0.5F * (dark.bottom_y - dark.top_y));
  mouth.gap_top = dark.top_y + line;
  mouth.gap_bottom = dark.bottom_y - line;
  if (face.red.empty()) return;
  const std::vector<float> red = RowsOf(face, face.red, mouth, kGapReach);
  LowerBelowTeeth(face, red, dark, mouth);
  LowerBelowTongue(face, red, mouth);
  if (teeth || mouth.gap_bottom - mouth.gap_top < 0.5F * kLineWidth) return;
  RaiseAboveTeeth(face, red, dark, mouth);
}

}  // namespace tessera
