
#include <algorithm>
#include <cmath>
#include <vector>

#include "features/face_features.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

constexpr float kMouthHeight = 1.01F;  // of an average face, and how far others are off
constexpr float kMouthSpread = 0.13F;
constexpr float kMouthReach = 0.66F;  // no mouth is wider to one side

// Where between two samples a falling profile passes `level`.
float Crossing(float above, float below, float level) {
  return above > below ? Clamped01((above - level) / (above - below)) : 0.5F;
}

struct MouthLine {
  int first = 0;            // column of the first entry
  std::vector<int> rows;    // for each column
  std::vector<float> dark;  // there
};

// The smooth path from left to right through the darkest places, rather at the height of a mouth than elsewhere.
MouthLine DarkestPath(const FaceCues &face) {
  const int first = std::max(0, cvRound(face.Column(-kMouthReach)));
  const int last = std::min(face.lines.cols - 1, cvRound(face.Column(kMouthReach)));
  const int top = cvRound(face.Row(0.78F));
  const int bottom = cvRound(face.Row(1.36F));
  const int columns = last - first + 1;
  const int rows = bottom - top + 1;
  cv::Mat best(rows, columns, CV_32F);
  cv::Mat from(rows, columns, CV_8S, cv::Scalar(0));
  for (int column = 0; column < columns; ++column) {
    for (int row = 0; row < rows; ++row) {
      const float here = face.lines.at<float>(top + row, first + column) *
                         Bell(face.Y(static_cast<float>(top + row)) - kMouthHeight, kMouthSpread);
      float before = 0;
      if (column > 0) {
        before = best.at<float>(row, column - 1) + 0.3F;
        for (const int step : {-1, 1}) {
          if (row + step < 0 || row + step >= rows || best.at<float>(row + step, column - 1) <= before) continue;
          before = best.at<float>(row + step, column - 1);
          from.at<int8_t>(row, column) = static_cast<int8_t>(step);
        }
      }
      best.at<float>(row, column) = before + here;
    }
  }
  cv::Point end;
  cv::minMaxLoc(best.col(columns - 1), nullptr, nullptr, nullptr, &end);
  MouthLine line{first, std::vector<int>(static_cast<size_t>(columns)),
                 std::vector<float>(static_cast<size_t>(columns))};
  for (int column = columns - 1, row = end.y; column >= 0; --column) {
    const auto i = static_cast<size_t>(column);
    line.rows[i] = top + row;
    line.dark[i] = face.lines.at<float>(top + row, first + column);
    row += from.at<int8_t>(row, column);
  }
  return line;
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
  const float level = 0.4F * dark(peak);
  int column = peak;
  while (column + side >= line.first && column + side <= last && dark(column + side) > level) column += side;
  const bool fades = column + side >= line.first && column + side <= last;
  const float part = fades ? Crossing(dark(column), dark(column + side), level) : 0;
  return {
      {face.X(static_cast<float>(column) + part * static_cast<float>(side)), face.Y(static_cast<float>(row(column)))},
      dark(peak)};
}

// How far each row of the mouth is from the skin's colour. Lips are redder than skin, teeth paler; both are less
// yellow. Means of rows come first: noise in them is small, and does not look like colour.
std::vector<float> ColourProfile(const FaceCues &face, float middle) {
  constexpr float kReach = 0.17F;
  const cv::Range columns(face.NearestColumn(middle - kReach), face.NearestColumn(middle + kReach) + 1);
  cv::Mat red;
  cv::Mat blue;
  cv::reduce(face.red.colRange(columns), red, 1, cv::REDUCE_AVG);
  cv::reduce(face.blue.colRange(columns), blue, 1, cv::REDUCE_AVG);
  std::vector<float> profile;
  for (int row = 0; row < red.rows; ++row) {
    profile.push_back(std::abs(red.at<float>(row)) + std::max(blue.at<float>(row), 0.0F));
  }
  return profile;
}

// The lips' outer edges by their colour.
void FindLips(const FaceCues &face, Mouth &mouth) {
  if (face.red.empty()) return;
  const std::vector<float> profile = ColourProfile(face, (mouth.left.x + mouth.right.x) * 0.5F);
  const auto mean = [&](float from, float to) {
    float sum = 0;
    int count = 0;
    for (int row = cvRound(face.Row(from)); row <= cvRound(face.Row(to)); ++row, ++count) {
      sum += profile[static_cast<size_t>(std::clamp(row, 0, face.lines.rows - 1))];
    }
    return sum / static_cast<float>(count);
  };
  const int first = std::max(1, cvRound(face.Row(mouth.line - 0.19F)));
  const int last = std::min(face.lines.rows - 2, cvRound(face.Row(mouth.line + 0.42F)));
  const auto begin = profile.begin();
  const float skin_above = *std::min_element(begin + first, begin + face.NearestRow(mouth.line - 0.06F) + 1);
  const float skin_below = mean(mouth.line + 0.45F, 1.52F);
  const float peak = *std::max_element(begin + face.NearestRow(mouth.line - 0.12F), begin + last + 1);
  mouth.lips_confidence = Clamped01((peak - std::max(skin_above, skin_below) - 1.5F) / 3);
  if (mouth.lips_confidence <= 0) return;
  const float level_above = Mixed(skin_above, peak, 0.4F);
  const float level_below = Mixed(skin_below, peak, 0.4F);
  // The upper lip ends where its colour does above the line (higher up comes the nose); below, teeth may lie between.
  int top = std::max(first + 1, cvRound(face.Row(mouth.line)));
  const int start = std::max(first + 1, top - 4);
  while (top > start && profile[static_cast<size_t>(top)] < level_above) --top;
  while (top > first && profile[static_cast<size_t>(top - 1)] >= level_above) --top;
  int bottom = last;
  while (bottom > top && profile[static_cast<size_t>(bottom)] < level_below) --bottom;
  const auto at = [&profile](int row) { return profile[static_cast<size_t>(row)]; };
  mouth.top = face.Y(static_cast<float>(top) - Crossing(at(top), at(top - 1), level_above));
  mouth.bottom = face.Y(static_cast<float>(bottom) + Crossing(at(bottom), at(bottom + 1), level_below));
}

// Between closed lips there is a thin dark line, between open ones the dark of the mouth.
void FindGap(const FaceCues &face, Mouth &mouth) {
  constexpr float kReach = 0.1F;
  constexpr float kThinGap = 0.1F;  // units: no more than the line
  constexpr float kWideGap = 0.15F;
  constexpr float kFaintGap = 10;  // luma codes
  constexpr float kClearGap = 25;
  const float middle = (mouth.left.x + mouth.right.x) * 0.5F;
  const cv::Range columns(face.NearestColumn(middle - kReach), face.NearestColumn(middle + kReach) + 1);
  cv::Mat dark;
  cv::reduce(face.lines.colRange(columns), dark, 1, cv::REDUCE_AVG);
  const int first = face.NearestRow(mouth.line - 0.1F);
  const int last = face.NearestRow(mouth.line + 0.3F);
  int peak = first;
  for (int row = first; row <= last; ++row) {
    if (dark.at<float>(row) > dark.at<float>(peak)) peak = row;
  }
  const float half = dark.at<float>(peak) * 0.5F;
  int top = peak;
  while (top > first && dark.at<float>(top - 1) > half) --top;
  int bottom = peak;
  while (bottom < last && dark.at<float>(bottom + 1) > half) ++bottom;
  mouth.gap_top = face.Y(static_cast<float>(top) - 0.5F);
  mouth.gap_bottom = face.Y(static_cast<float>(bottom) + 0.5F);
  mouth.gap_confidence = Clamped01((mouth.gap_bottom - mouth.gap_top - kThinGap) / (kWideGap - kThinGap)) *
                         Clamped01((dark.at<float>(peak) - kFaintGap) / (kClearGap - kFaintGap));
}

}  // namespace

Mouth FindMouth(const FaceCues &face) {
  const MouthLine line = DarkestPath(face);
  const Corner left = LineEnd(face, line, -1);
  const Corner right = LineEnd(face, line, 1);
  Mouth mouth;
  mouth.left = left.place;
  mouth.right = right.place;
  const auto middle = static_cast<size_t>(cvRound(face.Column((left.place.x + right.place.x) * 0.5F)) - line.first);
  // Between teeth and lower lip lies another line; it is further below the corners than that of a closed mouth.
  const float corners = (left.place.y + right.place.y) * 0.5F;
  mouth.line = std::min(face.Y(static_cast<float>(line.rows[middle])), corners + 0.08F);
  mouth.confidence = Clamped01((std::min(left.strength, right.strength) - 4) / 12);
  FindLips(face, mouth);
  FindGap(face, mouth);
  return mouth;
}

}  // namespace tessera
