#include "following/similarity.h"

#include <algorithm>
#include <cmath>

namespace tessera {
namespace {

constexpr int kRounds = 10;
constexpr int kFirstRounds = 6;   // by absolute distances: many points that are wrong alike do not draw the start aside
constexpr float kTukey = 4.685F;  // of standard deviations: nothing beyond that counts
constexpr float kSpreadOfMedian = 1.48F;  // a standard deviation by the median of what is left over

// x' = a * x - b * y + shift.x, y' = b * x + a * y + shift.y.
struct Map {
  float a = 1;
  float b = 0;
  cv::Point2f shift;

  cv::Point2f At(cv::Point2f p) const { return cv::Point2f(a * p.x - b * p.y, b * p.x + a * p.y) + shift; }
};

std::optional<Map> Weighted(const std::vector<cv::Point2f> &from, const std::vector<cv::Point2f> &to,
                            const std::vector<float> &weights) {
  cv::Point2f from_mean(0, 0);
  cv::Point2f to_mean(0, 0);
  float sum = 0;
  for (size_t i = 0; i < from.size(); ++i) {
    from_mean += from[i] * weights[i];
    to_mean += to[i] * weights[i];
    sum += weights[i];
  }
  if (sum <= 0) return std::nullopt;
  from_mean *= 1 / sum;
  to_mean *= 1 / sum;
  float size = 0;
  float along = 0;
  float across = 0;
  for (size_t i = 0; i < from.size(); ++i) {
    const cv::Point2f p = from[i] - from_mean;
    const cv::Point2f q = to[i] - to_mean;
    size += weights[i] * p.dot(p);
    along += weights[i] * p.dot(q);
    across += weights[i] * (p.x * q.y - p.y * q.x);
  }
  if (size <= 0) return std::nullopt;
  Map map;
  map.a = along / size;
  map.b = across / size;
  map.shift =
      to_mean - cv::Point2f(map.a * from_mean.x - map.b * from_mean.y, map.b * from_mean.x + map.a * from_mean.y);
  return map;
}

}  // namespace

std::optional<Placement> FitSimilarity(const std::vector<cv::Point2f> &from, const std::vector<cv::Point2f> &to,
                                       size_t fewest) {
  if (from.size() < fewest || from.size() != to.size()) return std::nullopt;
  std::vector<float> weights(from.size(), 1.0F);
  std::vector<float> off(from.size());
  std::vector<float> sorted;
  std::optional<Map> map;
  size_t agree = from.size();
  for (int round = 0; round < kRounds; ++round) {
    map = Weighted(from, to, weights);
    if (!map) return std::nullopt;
    for (size_t i = 0; i < from.size(); ++i) {
      const cv::Point2f apart = map->At(from[i]) - to[i];
      off[i] = std::hypot(apart.x, apart.y);
    }
    sorted = off;
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::nth_element(sorted.begin(), middle, sorted.end());
    const float reach = kTukey * std::max(kSpreadOfMedian * *middle, 1e-4F);
    agree = 0;
    for (size_t i = 0; i < from.size(); ++i) {
      if (round < kFirstRounds) {
        weights[i] = 1 / std::max(off[i], 1e-3F);
        continue;
      }
      const float part = off[i] / reach;
      const float rest = 1 - part * part;
      weights[i] = rest > 0 ? rest * rest : 0;
      agree += rest > 0;
    }
  }
  const float scale = std::hypot(map->a, map->b);
  if (agree < fewest || !(scale > 0)) return std::nullopt;
  return Placement{map->shift, scale, std::atan2(map->b, map->a)};
}

}  // namespace tessera
