#include "keyer_metrics.h"

#include <algorithm>
#include <cmath>

namespace keyer_bench {
namespace {

constexpr int kRadius = 4;
constexpr double kSigma = 1.4;
constexpr int kSettling = 6;  // still frames before the flicker is measured

std::vector<float> Convolved(const std::vector<float> &in, uint32_t width, uint32_t height,
                             const double (&kernel)[2 * kRadius + 1], bool horizontal) {
  std::vector<float> out(in.size());
  for (int y = 0; y < static_cast<int>(height); ++y) {
    for (int x = 0; x < static_cast<int>(width); ++x) {
      double sum = 0;
      for (int k = -kRadius; k <= kRadius; ++k) {
        const int sx = std::clamp(x + (horizontal ? k : 0), 0, static_cast<int>(width) - 1);
        const int sy = std::clamp(y + (horizontal ? 0 : k), 0, static_cast<int>(height) - 1);
        sum += kernel[k + kRadius] * in[static_cast<size_t>(sy) * width + static_cast<size_t>(sx)];
      }
      out[static_cast<size_t>(y) * width + static_cast<size_t>(x)] = static_cast<float>(sum);
    }
  }
  return out;
}

// Sum of squared differences of the gradients' lengths.
double GradientError(const std::vector<float> &a, const std::vector<float> &b, uint32_t width, uint32_t height) {
  double smooth[2 * kRadius + 1], slope[2 * kRadius + 1], total = 0;
  for (int k = -kRadius; k <= kRadius; ++k) {
    smooth[k + kRadius] = std::exp(-k * k / (2 * kSigma * kSigma));
    total += smooth[k + kRadius];
  }
  for (int k = -kRadius; k <= kRadius; ++k) {
    smooth[k + kRadius] /= total;
    slope[k + kRadius] = -k / (kSigma * kSigma) * smooth[k + kRadius];
  }
  const auto length = [&](const std::vector<float> &in) {
    const std::vector<float> gx = Convolved(Convolved(in, width, height, slope, true), width, height, smooth, false);
    const std::vector<float> gy = Convolved(Convolved(in, width, height, smooth, true), width, height, slope, false);
    std::vector<float> out(in.size());
    for (size_t i = 0; i < in.size(); ++i) out[i] = std::hypot(gx[i], gy[i]);
    return out;
  };
  const std::vector<float> la = length(a), lb = length(b);
  double sum = 0;
  for (size_t i = 0; i < a.size(); ++i) sum += (la[i] - lb[i]) * (la[i] - lb[i]);
  return sum;
}

double Squared(const Colour &a, const Colour &b) {
  return ((a.r - b.r) * (a.r - b.r) + (a.g - b.g) * (a.g - b.g) + (a.b - b.b) * (a.b - b.b)) / 3.0;
}

bool IsYellow(const Colour &c) {
  return c.r > 0.75f && c.g > 0.65f && c.b < 0.3f;
}

Colour Over(const Colour &front, float alpha) {
  constexpr float kGrey = 0.5f;
  return {front.r * alpha + kGrey * (1 - alpha), front.g * alpha + kGrey * (1 - alpha),
          front.b * alpha + kGrey * (1 - alpha)};
}

}  // namespace

void Meter::Add(int frame, const Take &take, const std::vector<uint8_t> &rgba) {
  const size_t count = take.alpha.size();
  std::vector<float> alpha(count);
  for (size_t i = 0; i < count; ++i) alpha[i] = static_cast<float>(rgba[i * 4 + 3]) / 255;

  const double n = static_cast<double>(count);
  for (size_t i = 0; i < count; ++i) {
    const double error = alpha[i] - take.alpha[i];
    mad_ += std::fabs(error) / n;
    if (!scene_.IsStill(frame) && frame > 0) moving_mad_ += std::fabs(error) / n;
    mse_ += error * error / n;
  }
  grad_ += GradientError(alpha, take.alpha, scene_.Options().width, scene_.Options().height) / n;
  ++frames_;
  if (!scene_.IsStill(frame) && frame > 0) ++moving_frames_;
  if (!last_alpha_.empty() && !scene_.IsStill(frame)) {
    for (size_t i = 0; i < count; ++i) {
      const double change = (alpha[i] - last_alpha_[i]) - (take.alpha[i] - last_truth_[i]);
      dt_ += change * change;
    }
    dt_count_ += count;
  }
  if (frame >= scene_.Options().moving_frames + kSettling) {
    sum_.resize(count);
    squares_.resize(count);
    for (size_t i = 0; i < count; ++i) {
      sum_[i] += alpha[i];
      squares_[i] += alpha[i] * alpha[i];
    }
    still_truth_ = take.alpha;
    ++still_count_;
  }
  AddColours(take, alpha, rgba);
  last_alpha_ = std::move(alpha);
  last_truth_ = take.alpha;
}

void Meter::AddColours(const Take &take, const std::vector<float> &alpha, const std::vector<uint8_t> &rgba) {
  for (size_t i = 0; i < alpha.size(); ++i) {
    const Colour got{static_cast<float>(rgba[i * 4]) / 255, static_cast<float>(rgba[i * 4 + 1]) / 255,
                     static_cast<float>(rgba[i * 4 + 2]) / 255};
    const Colour &wanted = take.front[i];
    if (take.alpha[i] > 0.998f) {
      core_ += Squared(got, wanted);
      ++core_count_;
      if (IsYellow(wanted)) {
        yellow_ += Squared(got, wanted);
        ++yellow_count_;
      }
    } else if (take.alpha[i] > 0.002f) {
      edge_ += Squared(Over(got, alpha[i]), Over(wanted, take.alpha[i]));
      ++edge_count_;
    }
  }
}

Metrics Meter::Result() const {
  const auto root = [](double sum, size_t count) {
    return count == 0 ? 0 : 1000 * std::sqrt(sum / static_cast<double>(count));
  };
  Metrics m;
  m.mad = 1000 * mad_ / frames_;
  m.moving_mad = moving_frames_ == 0 ? 0 : 1000 * moving_mad_ / moving_frames_;
  m.mse = 1000 * mse_ / frames_;
  m.grad = 1000 * grad_ / frames_;
  m.dtssd = root(dt_, dt_count_);
  m.core_rmse = root(core_, core_count_);
  m.yellow = root(yellow_, yellow_count_);
  m.edge_composite = root(edge_, edge_count_);
  double flicker = 0;
  size_t edge = 0;
  for (size_t i = 0; i < still_truth_.size(); ++i) {
    if (still_truth_[i] <= 0.002f || still_truth_[i] >= 0.998f) continue;
    const double mean = sum_[i] / still_count_;
    flicker += std::sqrt(std::max(0.0, squares_[i] / still_count_ - mean * mean));
    ++edge;
  }
  m.edge_flicker = edge == 0 ? 0 : 1000 * flicker / static_cast<double>(edge);
  return m;
}

}  // namespace keyer_bench
