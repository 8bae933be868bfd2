#include "family_metrics.h"

#include <algorithm>
#include <cmath>

namespace keyer_bench {
namespace {

constexpr int kSettling = 5;  // still frames before the flicker is measured
constexpr float kClear = 0.002f, kOpaque = 0.998f;

}  // namespace

void FamilyMeter::Add(const std::vector<float> &alpha) {
  const FamilyTake::Frame &truth = take_.frames[frames_];
  const auto n = static_cast<double>(alpha.size());
  const bool moves = frames_ > 0 && frames_ < static_cast<size_t>(take_.first_still);
  const bool settled = frames_ >= static_cast<size_t>(take_.first_still + kSettling);
  double mad = 0, optical = 0;
  for (size_t i = 0; i < alpha.size(); ++i) {
    const double error = std::fabs(static_cast<double>(alpha[i]) - static_cast<double>(truth.alpha[i]));
    mad += error / n;
    optical += std::fabs(static_cast<double>(alpha[i]) - static_cast<double>(truth.optical[i])) / n;
    if (truth.optical[i] <= kClear) {
      backing_ += error;
      ++backing_count_;
    } else if (truth.optical[i] >= kOpaque) {
      holes_ += error;
      ++holes_count_;
    }
  }
  mad_ += mad;
  optical_ += optical;
  ++frames_;
  if (moves) {
    moving_ += mad;
    ++moving_frames_;
  }
  if (!settled) return;
  sum_.resize(alpha.size());
  squares_.resize(alpha.size());
  for (size_t i = 0; i < alpha.size(); ++i) {
    sum_[i] += static_cast<double>(alpha[i]);
    squares_[i] += static_cast<double>(alpha[i] * alpha[i]);
  }
  ++still_frames_;
}

FamilyMetrics FamilyMeter::Result() const {
  FamilyMetrics m;
  const auto part = [](double sum, double count) { return count > 0 ? 1000 * sum / count : 0; };
  m.mad = part(mad_, static_cast<double>(frames_));
  m.optical = part(optical_, static_cast<double>(frames_));
  m.moving = part(moving_, static_cast<double>(moving_frames_));
  m.backing = part(backing_, backing_count_);
  m.holes = part(holes_, holes_count_);
  double flicker = 0, edge = 0;
  const std::vector<float> &truth = take_.frames.back().optical;
  for (size_t i = 0; i < sum_.size(); ++i) {
    if (truth[i] <= kClear || truth[i] >= kOpaque) continue;
    const auto n = static_cast<double>(still_frames_);
    const double mean = sum_[i] / n;
    flicker += std::sqrt(std::max(0.0, squares_[i] / n - mean * mean));
    ++edge;
  }
  m.flicker = part(flicker, edge);
  return m;
}

}  // namespace keyer_bench
