#include <algorithm>
#include <opencv2/imgproc.hpp>
#include <vector>

#include "features/face_features.h"
#include "vision/numbers.h"

namespace tessera {
namespace {

// Through the iris: how wide the band is that is looked at, to either side of the pupil, and how high.
constexpr float kBand = 0.06F;
constexpr float kTop = -0.16F;
constexpr float kBottom = 0.20F;

// Heights of the dark place at half of its darkness: lashes on closed lids, and an iris between open ones.
constexpr float kClosed = 0.065F;
constexpr float kOpen = 0.135F;

constexpr float kFaint = 8;  // luma codes
constexpr float kClear = 24;

// Pupils' distances, in pixels, below which lashes look like an iris, and from which they do not.
constexpr float kTooSmall = 18;
constexpr float kLargeEnough = 34;

// Heights of the white of an eye beside its iris at half of its brightness.
constexpr float kClosedWhite = 0.02F;
constexpr float kOpenWhite = 0.075F;
constexpr float kWhiteFrom = 0.12F;  // aside of the pupil
constexpr float kWhiteTo = 0.19F;
constexpr float kFaintWhite = 14;  // luma codes above the skin
constexpr float kClearWhite = 40;
constexpr float kMostShine = 10;  // of closed lids above the skin, luma codes of the picture, whose light is not raised

// Skin in which an eye that is open shows its white, or nothing that tells it from a closed one.
constexpr float kDarkSkin = 80;     // luma code
constexpr float kDarkestSkin = 70;  // likewise

// Between two x, each row's mean.
std::vector<float> RowsBetween(const FaceCues &face, const cv::Mat &cue, float from, float to) {
  const auto [first, last] = std::minmax({face.NearestColumn(from), face.NearestColumn(to)});
  cv::Mat rows;
  cv::reduce(cue.rowRange(face.NearestRow(kTop), face.NearestRow(kBottom) + 1).colRange(first, last + 1), rows, 1,
             cv::REDUCE_AVG);
  return {rows.begin<float>(), rows.end<float>()};
}

// Rows around the highest one that reach half of its height.
float RowsAtHalf(const std::vector<float> &profile) {
  const auto peak = static_cast<size_t>(std::max_element(profile.begin(), profile.end()) - profile.begin());
  const float half = profile[peak] * 0.5F;
  const auto crossing = [&](size_t from, size_t next) {  // part of a row
    return profile[from] > profile[next] ? (profile[from] - half) / (profile[from] - profile[next]) : 0.0F;
  };
  size_t first = peak;
  while (first > 0 && profile[first - 1] > half) --first;
  size_t last = peak;
  while (last + 1 < profile.size() && profile[last + 1] > half) ++last;
  float rows = static_cast<float>(last - first);
  if (first > 0) rows += crossing(first, first - 1);
  if (last + 1 < profile.size()) rows += crossing(last, last + 1);
  return rows;
}

struct White {
  float seen = 0;  // 0 to 1
  float open = 0;  // likewise
  float skin = 0;  // luma code of the picture
};

// The white of an eye in dark skin: brighter than the cheek below it.
White FindWhite(const FaceCues &face, float sign) {
  const cv::Mat cheek = face.light.rowRange(face.NearestRow(0.2F), face.NearestRow(0.28F) + 1);
  const auto [first, last] = std::minmax({face.NearestColumn(sign * 0.3F), face.NearestColumn(sign * 0.7F)});
  const auto skin = static_cast<float>(cv::mean(cheek.colRange(first, last + 1))[0]);
  std::vector<float> white = RowsBetween(face, face.light, sign * (0.5F - kWhiteTo), sign * (0.5F - kWhiteFrom));
  const std::vector<float> outside =
      RowsBetween(face, face.light, sign * (0.5F + kWhiteFrom), sign * (0.5F + kWhiteTo));
  for (size_t row = 0; row < white.size(); ++row) {
    white[row] = std::max(0.0F, std::max(white[row], outside[row]) - skin);
  }
  const float most = *std::max_element(white.begin(), white.end());
  const float height = face.Y(RowsAtHalf(white)) - face.Y(0);
  const float faint = std::max(kFaintWhite, kMostShine * face.Gain());
  return {Clamped01((most - faint) / (kClearWhite - kFaintWhite)),
          Clamped01((height - kClosedWhite) / (kOpenWhite - kClosedWhite)), skin / face.Gain()};
}

}  // namespace

Lids FindLids(const FaceCues &face, int side, float unit) {
  const auto sign = static_cast<float>(side);
  const std::vector<float> dark = RowsBetween(face, face.lines, sign * (0.5F - kBand), sign * (0.5F + kBand));
  const float darkest = *std::max_element(dark.begin(), dark.end());
  const float height = face.Y(RowsAtHalf(dark)) - face.Y(0);
  Lids lids;
  lids.open = Clamped01((height - kClosed) / (kOpen - kClosed));
  lids.confidence = Clamped01((darkest - kFaint) / (kClear - kFaint));
  const White white = FindWhite(face, sign);
  lids.open = Mixed(lids.open, white.open, white.seen);
  lids.confidence = std::max(lids.confidence, white.seen);
  lids.white = white.seen;
  const float dark_skin = Clamped01((kDarkSkin - white.skin) / (kDarkSkin - kDarkestSkin));
  lids.confidence = Mixed(lids.confidence, white.seen, dark_skin * lids.open);
  lids.confidence *= Clamped01((unit - kTooSmall) / (kLargeEnough - kTooSmall));
  return lids;
}

}  // namespace tessera
