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

}  // namespace

Lids FindLids(const FaceCues &face, int side, float unit) {
  const auto sign = static_cast<float>(side);
  const int top = face.NearestRow(kTop);
  const int bottom = face.NearestRow(kBottom);
  std::vector<float> dark;
  for (int row = top; row <= bottom; ++row) {
    float sum = 0;
    int count = 0;
    for (float x = 0.5F - kBand; x <= 0.5F + kBand; x += 0.02F, ++count) {
      sum += face.lines.at<float>(row, face.NearestColumn(sign * x));
    }
    dark.push_back(sum / static_cast<float>(count));
  }
  const auto peak = static_cast<size_t>(std::max_element(dark.begin(), dark.end()) - dark.begin());
  const float half = dark[peak] * 0.5F;
  const auto crossing = [&](size_t from, size_t next) {  // part of a row
    return dark[from] > dark[next] ? (dark[from] - half) / (dark[from] - dark[next]) : 0.0F;
  };
  size_t first = peak;
  while (first > 0 && dark[first - 1] > half) --first;
  size_t last = peak;
  while (last + 1 < dark.size() && dark[last + 1] > half) ++last;
  float rows = static_cast<float>(last - first);
  if (first > 0) rows += crossing(first, first - 1);
  if (last + 1 < dark.size()) rows += crossing(last, last + 1);
  const float height = face.Y(rows) - face.Y(0);
  Lids lids;
  lids.open = Clamped01((height - kClosed) / (kOpen - kClosed));
  lids.confidence =
      Clamped01((dark[peak] - kFaint) / (kClear - kFaint)) * Clamped01((unit - kTooSmall) / (kLargeEnough - kTooSmall));
  return lids;
}

}  // namespace tessera
