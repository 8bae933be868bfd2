#include <algorithm>
#include <cmath>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <optional>
#include <utility>
#include <vector>

#include "features/face_features.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

constexpr float kMouthHeight = 1.01F;  // of an average face, and how far others are off
constexpr float kMouthSpread = 0.13F;
constexpr float kCornerDepth = 0.14F;
constexpr float kUsualHalf = 0.4F;    // from its middle to a corner
constexpr float kMouthReach = 0.66F;  // no mouth is wider to one side

// Where between two samples a falling profile passes `level`.
float Crossing(float above, float below, float level) {
  return above > below ? Clamped01((above - level) / (above - below)) : 0.5F;
}

constexpr float kLineEnd = 0.4F;
constexpr float kFaintLine = 4;
// A crease is smoothed along the line.
constexpr float kCreaseEnd = 0.3F;
constexpr float kFaintCrease = 1.5F;

struct MouthLine {
  cv::Mat cue;              // in which it is dark
  bool crease = false;      // no more than that
  float end = 0;            // part of its greatest darkness at which it ends
  float faint = 0;          // luma codes: what says nothing
  int first = 0;            // column of the first entry
  std::vector<int> rows;    // for each column
  std::vector<float> dark;  // there
};

// The best way into a place: the darkness along it so far, and the step down from the column before.
struct Way {
  float darkness = 0;
  int8_t step = 0;
};

// From the column before, whose best darknesses are `before`: straight on or a row aside.
Way BestWay(const std::vector<float> &before, size_t row) {
  constexpr float kStraightOn = 0.3F;  // luma codes: what a step aside must be worth
  Way way{before[row] + kStraightOn, 0};
  if (row > 0 && before[row - 1] > way.darkness) way = {before[row - 1], -1};
  if (row + 1 < before.size() && before[row + 1] > way.darkness) way = {before[row + 1], 1};
  return way;
}

// In dark skin the line between closed lips is fainter than the shade below a nose.
float BelowNose(const FaceCues &face, float y, const Nose &nose) {
  constexpr float kNearest = 0.06F;
  constexpr float kFarEnough = 0.14F;
  if (face.DarkSkin() <= 0) return 1;
  return Mixed(1, Clamped01((y - nose.nostrils.y - kNearest) / (kFarEnough - kNearest)), nose.confidence);
}

// The smooth path from left to right through the darkest places, rather at the height of a mouth than elsewhere.
MouthLine DarkestPath(const FaceCues &face, const cv::Mat &cue, const cv::Mat &ends, const Nose &nose) {
  const int first = std::max(0, cvRound(face.Column(-kMouthReach)));
  const int last = std::min(face.lines.cols - 1, cvRound(face.Column(kMouthReach)));
  const int top = cvRound(face.Row(0.78F));
  const int bottom = cvRound(face.Row(1.36F));
  const int columns = last - first + 1;
  std::vector<float> usual;
  for (int row = top; row <= bottom; ++row) {
    const float y = face.Y(static_cast<float>(row));
    usual.push_back(Bell(y - kMouthHeight, kMouthSpread) * BelowNose(face, y, nose));
  }
  // Of each place in a column: the darkness along the best path to it; of all, the step that led there.
  std::vector<float> best(usual.size());
  std::vector<float> before(usual.size());
  std::vector<int8_t> steps(usual.size() * static_cast<size_t>(columns), 0);
  const size_t stride = cue.step1();
  for (int column = 0; column < columns; ++column) {
    best.swap(before);
    const float *here = cue.ptr<float>(top) + first + column;
    int8_t *step = steps.data() + static_cast<size_t>(column) * usual.size();
    for (size_t row = 0; row < usual.size(); ++row, here += stride) {
      const Way way = column > 0 ? BestWay(before, row) : Way();
      step[row] = way.step;
      best[row] = way.darkness + *here * usual[row];
    }
  }
  MouthLine line{cue,
                 false,
                 kLineEnd,
                 kFaintLine,
                 first,
                 std::vector<int>(static_cast<size_t>(columns)),
                 std::vector<float>(static_cast<size_t>(columns))};
  auto row = static_cast<int>(std::max_element(best.begin(), best.end()) - best.begin());
  for (int column = columns - 1; column >= 0; --column) {
    const auto i = static_cast<size_t>(column);
    line.rows[i] = top + row;
    line.dark[i] = ends.at<float>(top + row, first + column);
    row += steps[i * usual.size() + static_cast<size_t>(row)];
  }
  return line;
}

// Thin dark lines across: what is darker than the rows close above and close below. Hairs are averaged along them.
cv::Mat Creases(const FaceCues &face) {
  constexpr int kAcross = 9;  // pixels, a quarter of a unit
  constexpr int kClose = 2;   // rows
  cv::Mat smooth;
  cv::blur(face.light, smooth, cv::Size(kAcross, 1));
  cv::Mat creases = cv::Mat::zeros(smooth.size(), CV_32F);
  const int last = smooth.rows - kClose;
  cv::Mat inner = creases.rowRange(kClose, last);
  cv::min(smooth.rowRange(0, last - kClose), smooth.rowRange(2 * kClose, smooth.rows), inner);
  inner -= smooth.rowRange(kClose, last);
  cv::max(inner, 0, inner);
  return creases;
}

// How clear a crease the line is in its middle, at the height of a mouth.
float Sharpness(const FaceCues &face, const cv::Mat &creases, const MouthLine &line) {
  const int last = face.NearestColumn(0.3F);
  float sum = 0;
  int count = 0;
  for (int column = face.NearestColumn(-0.3F); column <= last; ++column, ++count) {
    const int row = line.rows[static_cast<size_t>(column - line.first)];
    sum += creases.at<float>(row, column) * Bell(face.Y(static_cast<float>(row)) - kMouthHeight, kMouthSpread);
  }
  return sum / static_cast<float>(count);
}

// In a beard, and in dark skin, the line between the lips is dark beside the lips alone.
MouthLine FindLine(const FaceCues &face, const Nose &nose) {
  const cv::Mat creases = Creases(face);
  MouthLine best = DarkestPath(face, face.lines, face.line_ends, nose);
  float sharpness = Sharpness(face, creases, best);
  const auto consider = [&](const cv::Mat &cue, float clearly) {
    MouthLine line = DarkestPath(face, cue, cue, nose);
    const float here = Sharpness(face, creases, line);
    if (here <= clearly * sharpness) return;
    best = std::move(line);
    sharpness = here;
  };
  consider(face.spots, 1.3F);
  consider(creases, 1.15F);
  if (best.cue.data != creases.data) return best;
  best.crease = true;
  best.end = kCreaseEnd;
  best.faint = kFaintCrease;
  return best;
}

struct Corner {
  cv::Point2f place;
  float strength = 0;  // of the line beside it, luma codes
};

// Where the line ends on one side: outwards from its darkest place there, it fades.
Corner LineEnd(const FaceCues &face, const MouthLine &line, int side) {
  const auto dark = [&line](int column) { return line.dark[static_cast<size_t>(column - line.first)]; };
  const auto row = [&line](int column) { return line.rows[static_cast<size_t>(column - line.first)]; };
  const int last = line.first + static_cast<int>(line.dark.size()) - 1;
  const int inner = cvRound(face.Column(0.2F * static_cast<float>(side)));
  const int outer = cvRound(face.Column(0.52F * static_cast<float>(side)));
  int peak = inner;
  for (int column = inner; column != outer + side; column += side) {
    if (dark(column) > dark(peak)) peak = column;
  }
  const float level = line.end * dark(peak);
  int column = peak;
  while (column + side >= line.first && column + side <= last && dark(column + side) > level) column += side;
  const bool fades = column + side >= line.first && column + side <= last;
  const float part = fades ? Crossing(dark(column), dark(column + side), level) : 0;
  return {
      {face.X(static_cast<float>(column) + part * static_cast<float>(side)), face.Y(static_cast<float>(row(column)))},
      dark(peak)};
}

// Means of rows over the middle of a mouth: noise in them is small.
std::vector<float> RowsOf(const FaceCues &face, const cv::Mat &cue, const Mouth &mouth, float reach) {
  const float middle = (mouth.left.x + mouth.right.x) * 0.5F;
  const cv::Range columns(face.NearestColumn(middle - reach), face.NearestColumn(middle + reach) + 1);
  cv::Mat rows;
  cv::reduce(cue.colRange(columns), rows, 1, cv::REDUCE_AVG);
  return {rows.begin<float>(), rows.end<float>()};
}

// Of `from`..`to` (y in units) the row at which the profile falls most on the way down, or rises where `sign` is -1;
// finer than a row.
struct Edge {
  float y = 0;
  int row = 0;
};

Edge Steepest(const FaceCues &face, const std::vector<float> &profile, float from, float to, float sign) {
  const int last = static_cast<int>(profile.size()) - 4;
  const int first_row = std::clamp(cvRound(face.Row(from)), 3, last);
  const int last_row = std::clamp(cvRound(face.Row(to)), first_row, last);
  const auto fall = [&](int row) {
    const auto at = [&profile](int near) { return profile[static_cast<size_t>(near)]; };
    return sign * (at(row - 2) + at(row - 1) - at(row + 1) - at(row + 2));
  };
  int best = first_row;
  for (int row = first_row; row <= last_row; ++row) {
    if (fall(row) > fall(best)) best = row;
  }
  const float before = fall(best - 1);
  const float after = fall(best + 1);
  const float bend = 2 * fall(best) - before - after;
  const float part = bend > 0 ? std::clamp(0.5F * (after - before) / bend, -0.5F, 0.5F) : 0;
  return {face.Y(static_cast<float>(best) + part), best};
}

float MeanOf(const FaceCues &face, const std::vector<float> &profile, float from, float to) {
  const int first = face.NearestRow(from);
  const int last = std::max(first, face.NearestRow(to));
  float sum = 0;
  for (int row = first; row <= last; ++row) sum += profile[static_cast<size_t>(row)];
  return sum / static_cast<float>(last - first + 1);
}

float MostOf(const FaceCues &face, const std::vector<float> &profile, float from, float to) {
  const int first = face.NearestRow(from);
  const int last = std::max(first, face.NearestRow(to));
  return *std::max_element(profile.begin() + first, profile.begin() + last + 1);
}

constexpr float kLipReach = 0.17F;  // columns that tell of the lips, to either side of the middle
constexpr float kThickestLip = 0.27F;
constexpr float kFaintRed = 1.5F;  // chroma codes
constexpr float kClearRed = 4.5F;

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

// Between the lips it is dark: a thin line, or the dark of the mouth, with teeth above and below it.
void FindGap(const FaceCues &face, Mouth &mouth) {
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

// The lips' outer edges: where the red of their colour begins above the gap, and ends below it.
void FindLips(const FaceCues &face, Mouth &mouth) {
  if (face.red.empty()) return;
  std::vector<float> red = RowsOf(face, face.red, mouth, kLipReach);
  const std::vector<float> blue = RowsOf(face, face.blue, mouth, kLipReach);  // lips may be less yellow, too
  for (size_t row = 0; row < red.size(); ++row) red[row] += std::max(blue[row], 0.0F);
  const Edge top = Steepest(face, red, mouth.gap_top - kThickestLip, mouth.gap_top - 0.04F, -1);
  const Edge bottom = Steepest(face, red, mouth.gap_bottom + 0.06F, mouth.gap_bottom + kThickestLip, 1);
  const float upper = MostOf(face, red, top.y, mouth.gap_top) - MeanOf(face, red, top.y - 0.08F, top.y - 0.04F);
  const float lower =
      MostOf(face, red, mouth.gap_bottom, bottom.y) - MeanOf(face, red, bottom.y + 0.04F, bottom.y + 0.08F);
  mouth.top = top.y;
  mouth.bottom = bottom.y;
  mouth.lips_confidence = Clamped01((std::min(upper, lower) - kFaintRed) / (kClearRed - kFaintRed));
}

// 1 for corners that a mouth may have; a line in a beard may go anywhere, and shine on dark lips cuts it short.
float Plausibility(const Mouth &mouth) {
  const auto beyond = [](float value, float most) { return std::max(0.0F, value - most); };
  const float width = mouth.right.x - mouth.left.x;
  const float off = beyond(std::abs(mouth.left.x + mouth.right.x) * 0.5F, 0.12F) +
                    beyond(std::abs(mouth.left.y - mouth.right.y), 0.12F) + beyond(width, 1.05F) +
                    beyond(-width, -0.62F);
  return Clamped01(1 - off / 0.12F);
}

}  // namespace

Mouth FindMouth(const FaceCues &face, const Nose &nose) {
  const MouthLine line = FindLine(face, nose);
  Corner left = LineEnd(face, line, -1);
  Corner right = LineEnd(face, line, 1);
  // A crease in a face whose light is raised may be noise that was raised with it: how high it lies is told by all of
  // it, where it ends is not.
  if (line.crease) {
    const float raised = kFaintCrease * std::max(1.0F, face.Gain());
    const float sure = Clamped01((std::min(left.strength, right.strength) / raised - 1) / 3);
    const float aside = face.Aside(kCornerDepth);
    left.place.x = Mixed(aside - kUsualHalf, left.place.x, sure);
    right.place.x = Mixed(aside + kUsualHalf, right.place.x, sure);
  }
  Mouth mouth;
  mouth.left = left.place;
  mouth.right = right.place;
  const auto middle = static_cast<size_t>(cvRound(face.Column((left.place.x + right.place.x) * 0.5F)) - line.first);
  // Between teeth and lower lip lies another line; it is further below the corners than that of a closed mouth.
  const float corners = (left.place.y + right.place.y) * 0.5F;
  mouth.line = std::min(face.Y(static_cast<float>(line.rows[middle])), corners + 0.08F);
  mouth.confidence = Clamped01((std::min(left.strength, right.strength) / line.faint - 1) / 3);
  FindGap(face, mouth);
  FindLips(face, mouth);
  const float plausible = Plausibility(mouth);
  mouth.confidence *= plausible;
  mouth.gap_confidence *= plausible;
  mouth.lips_confidence *= plausible;
  mouth.left.x -= face.Aside(kCornerDepth);
  mouth.right.x -= face.Aside(kCornerDepth);
  return mouth;
}

}  // namespace tessera
