#include "features/mouth_line.h"

#include <algorithm>
#include <cstdint>
#include <opencv2/imgproc.hpp>
#include <utility>

#include "vision/numbers.h"

namespace tessera {
namespace {

constexpr float kMouthHeight = 1.01F;  // of an average face, and how far others are off
constexpr float kMouthSpread = 0.13F;
constexpr float kMouthReach = 0.66F;  // no mouth is wider to one side

constexpr float kLineEnd = 0.4F;
constexpr float kFaintLine = 4;
// A crease is smoothed along the line.
constexpr float kCreaseEnd = 0.3F;
constexpr float kFaintCrease = 1.5F;

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

}  // namespace

MouthLine FindMouthLine(const FaceCues &face, const Nose &nose) {
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

Corner MouthLineEnd(const FaceCues &face, const MouthLine &line, int side) {
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

}  // namespace tessera
