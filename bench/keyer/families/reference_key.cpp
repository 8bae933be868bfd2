#include "reference_key.h"

#include <algorithm>
#include <cmath>

namespace keyer_bench {
namespace {

constexpr int kCellsX = 48, kCellsY = 27, kSamples = 7, kReach = 6;
constexpr float kFiner = 8;  // the map's steps in a cell

float Saturate(float x) {
  return std::clamp(x, 0.0f, 1.0f);
}

float Smooth(float from, float to, float x) {
  const float t = Saturate((x - from) / (to - from));
  return t * t * (3 - 2 * t);
}

float Lerp(float a, float b, float t) {
  return a + (b - a) * t;
}

float Channel(uint8_t v) {
  return static_cast<float>(v) / 255;
}

}  // namespace

void FilterOverTime(KeyState &state, const std::vector<float> &raw, const std::vector<float> &deviation, uint32_t width,
                    uint32_t height, float denoise_q, const KeyConstants &constants) {
  const std::vector<float> x = state.key;
  const auto w = static_cast<int>(width), h = static_cast<int>(height);
  const float rate = denoise_q / 15;
  for (int py = 0; py < h; ++py) {
    for (int px = 0; px < w; ++px) {
      const auto index = [&](int ax, int ay) {
        return static_cast<size_t>(std::clamp(ay, 0, h - 1)) * width + static_cast<size_t>(std::clamp(ax, 0, w - 1));
      };
      const size_t at = index(px, py);
      const float noise = std::min(deviation[at] * deviation[at], constants.noise_most);
      const float r = constants.time_base + noise * (constants.time_noise + constants.time_more_noise * noise);
      // What is new in the four pixels that are shaded together, and in four around them.
      float mean = 0, around = 0;
      for (const int dy : {0, 1})
        for (const int dx : {0, 1}) {
          const int qx = px / 2 * 2 + dx, qy = py / 2 * 2 + dy;
          const size_t beside = index(qx, qy);
          const size_t outside =
              index(qx + (2 * dx - 1) * constants.gate_reach, qy + (2 * dy - 1) * constants.gate_reach);
          mean += (raw[beside] - x[beside]) / 4;
          around += (raw[outside] - x[outside]) / 4;
        }
      const float wide = Lerp(around, mean, constants.wide_own);
      const float p = state.gain[at] * r;
      const float gate = constants.gate * std::max(0.0f, mean * mean - constants.gate_from * r) +
                         constants.wide_gate * std::max(0.0f, wide * wide - constants.wide_gate_from * r);
      const float predicted = std::min(1.0f, p + constants.drift * rate * rate * rate * rate + gate);
      const float gain = predicted / (predicted + r);
      const float z = raw[at];
      float t = x[at] + gain * (z - x[at]);
      if (z <= 0 || z >= 0.75f) t = std::fabs(t - z) < constants.snap ? z : t;
      state.key[at] = t;
      state.gain[at] = gain;
    }
  }
}

ReferenceKey::ReferenceKey(uint32_t width, uint32_t height, const Colour &key, const KeyConstants &constants,
                           const KeySettings &settings)
    : width_(width), height_(height), constants_(constants), settings_(settings) {
  key_luma_ = 0.299f * key.r + 0.587f * key.g + 0.114f * key.b;
  const float u = (key.b - key_luma_) / 0.886f, v = (key.r - key_luma_) / 0.701f;
  z_ = std::sqrt(u * u + v * v);
  if (z_ > 1e-5f) {
    x_ = v / z_;
    y_ = u / z_;
  }
  blue_ = key.b > key.g;
  key_most_ = std::max(key.r, blue_ ? key.g : key.b);
  outer_ = constants_.outer * std::tan(settings.similarity * 1.5707963f);
  inner_ = constants_.inner * std::tan(settings.similarity / 6 * 3.14159265f);
}

ReferenceKey::Pixel ReferenceKey::At(const uint8_t *p) const {
  const float r = Channel(p[0]), g = Channel(p[1]), b = Channel(p[2]);
  Pixel pixel;
  pixel.luma = 0.299f * r + 0.587f * g + 0.114f * b;
  const float u = (b - pixel.luma) / 0.886f, v = (r - pixel.luma) / 0.701f;
  const float along = u * y_ + v * x_, across = std::fabs(v * y_ - u * x_);
  pixel.along = along / z_;
  pixel.raw = std::max(0.0f, along - std::max(0.0f, across - std::max(along, 0.0f) * inner_) /
                                         std::max(outer_ - inner_, 1e-4f)) /
              z_;
  const float mixed = std::clamp(pixel.along - pixel.raw, 0.0f, blue_ ? constants_.mixed_blue : constants_.mixed_green);
  if (blue_) pixel.raw += mixed;
  pixel.mixed = blue_ ? 0 : mixed;
  const float reach = std::max(pixel.along - constants_.aside_from, constants_.aside_least);
  const float aside = (u * x_ - v * y_) / z_ / reach;
  pixel.aside =
      Saturate(constants_.greener * (aside - constants_.greener_from)) -
      Saturate(constants_.redder * std::min(z_ * constants_.bright_key, 1.0f) * (-aside - constants_.redder_from));
  pixel.most = std::max(r, blue_ ? g : b);
  return pixel;
}

void ReferenceKey::FindCells(const std::vector<uint8_t> &rgba) {
  cells_.assign(size_t{kCellsX} * kCellsY, {});
  for (int cy = 0; cy < kCellsY; ++cy) {
    for (int cx = 0; cx < kCellsX; ++cx) {
      float sum = 0, first = 0, second = 0, ratios = 0;
      for (int j = 0; j < kSamples; ++j) {
        for (int i = 0; i < kSamples; ++i) {
          const auto x = static_cast<size_t>((static_cast<float>(cx) + (static_cast<float>(i) + 0.5f) / kSamples) /
                                             kCellsX * static_cast<float>(width_));
          const auto y = static_cast<size_t>((static_cast<float>(cy) + (static_cast<float>(j) + 0.5f) / kSamples) /
                                             kCellsY * static_cast<float>(height_));
          const Pixel p = At(&rgba[(y * width_ + x) * 4]);
          const float k = p.raw, ratio = k / std::max(p.luma / key_luma_, 0.02f);
          const float w = (1 - Smooth(constants_.ratio_near, constants_.ratio_far, std::fabs(ratio / ratio_ - 1))) *
                          Smooth(0.3f, 0.5f, k) * k;
          sum += w;
          first += w * k;
          second += w * k * k;
          ratios += w * ratio;
        }
      }
      Cell &cell = cells_[static_cast<size_t>(cy) * kCellsX + static_cast<size_t>(cx)];
      if (sum > 1e-4f) {
        cell.light = first / sum;
        cell.deviation = std::sqrt(std::max(0.0f, second / sum - cell.light * cell.light));
        cell.ratio = ratios / sum;
      }
      cell.certainty = sum / (kSamples * kSamples);
    }
  }
}

// The picked colour may be a little off: the backing itself says what its chroma over luma is.
void ReferenceKey::FollowRatio() {
  float sum = 1e-4f, ratios = 1e-4f * ratio_;
  for (const Cell &cell : cells_) {
    sum += cell.certainty;
    ratios += cell.certainty * cell.ratio;
  }
  ratio_ = std::clamp(Lerp(ratio_, ratios / sum, frame_ == 0 ? 1 : constants_.ratio_rate), 0.85f, 1.15f);
}

void ReferenceKey::FillMap() {
  map_.assign(cells_.size(), {});
  for (int cy = 0; cy < kCellsY; ++cy) {
    for (int cx = 0; cx < kCellsX; ++cx) {
      float weight = 1e-4f, light = 1e-4f, spread_weight = 2e-6f, spread = 0;
      for (int y = std::max(cy - kReach, 0); y <= std::min(cy + kReach, kCellsY - 1); ++y) {
        for (int x = std::max(cx - kReach, 0); x <= std::min(cx + kReach, kCellsX - 1); ++x) {
          const Cell &cell = cells_[static_cast<size_t>(y) * kCellsX + static_cast<size_t>(x)];
          const float away = 1 + static_cast<float>((x - cx) * (x - cx) + (y - cy) * (y - cy));
          const float w = cell.certainty / (away * away);
          weight += w;
          light += w * cell.light;
          spread_weight += w;
          spread += w * cell.deviation;
        }
      }
      Cell &cell = map_[static_cast<size_t>(cy) * kCellsX + static_cast<size_t>(cx)];
      cell.light = std::max(light / weight, 0.1f);
      cell.deviation = std::min(spread / spread_weight / cell.light, 0.15f);
      cell.certainty = 1 - Smooth(0, constants_.inside_to, weight);
    }
  }
}

ReferenceKey::Cell ReferenceKey::MapAt(float u, float v) const {
  u = (std::floor(u * kCellsX * kFiner) + 0.5f) / kFiner;
  v = (std::floor(v * kCellsY * kFiner) + 0.5f) / kFiner;
  const float x = std::clamp(u - 0.5f, 0.0f, kCellsX - 1.0f), y = std::clamp(v - 0.5f, 0.0f, kCellsY - 1.0f);
  const auto x0 = static_cast<size_t>(x), y0 = static_cast<size_t>(y);
  const size_t x1 = std::min<size_t>(x0 + 1, kCellsX - 1), y1 = std::min<size_t>(y0 + 1, kCellsY - 1);
  const float tx = x - static_cast<float>(x0), ty = y - static_cast<float>(y0);
  const auto mix = [&](float Cell::*m) {
    return Lerp(Lerp(map_[y0 * kCellsX + x0].*m, map_[y0 * kCellsX + x1].*m, tx),
                Lerp(map_[y1 * kCellsX + x0].*m, map_[y1 * kCellsX + x1].*m, tx), ty);
  };
  return {mix(&Cell::light), mix(&Cell::deviation), std::floor(mix(&Cell::certainty) * 15 + 0.5f) / 15, 0};
}

void ReferenceKey::FindMixing(const std::vector<uint8_t> &rgba) {
  const auto at = [&](int x, int y) {
    x = std::clamp(x, 0, static_cast<int>(width_) - 1);
    y = std::clamp(y, 0, static_cast<int>(height_) - 1);
    return &rgba[(static_cast<size_t>(y) * width_ + static_cast<size_t>(x)) * 4];
  };
  // Before blue the mean of nine pixels, before green the pixel itself.
  const int reach = blue_ ? 1 : 0;
  const auto smooth = [&](int x, int y) {
    std::array<float, 3> sum{};
    for (int dy = -reach; dy <= reach; ++dy)
      for (int dx = -reach; dx <= reach; ++dx)
        for (size_t c = 0; c < 3; ++c) sum[c] += Channel(at(x + dx, y + dy)[c]);
    for (float &value : sum) value /= static_cast<float>((2 * reach + 1) * (2 * reach + 1));
    return sum;
  };
  double evidence = 0, weight = 0;
  for (int gy = 0; gy < kCellsY * kSamples; ++gy) {
    for (int gx = 0; gx < kCellsX * kSamples; ++gx) {
      const auto x =
          static_cast<int>((static_cast<float>(gx) + 0.5f) / (kCellsX * kSamples) * static_cast<float>(width_));
      const auto y =
          static_cast<int>((static_cast<float>(gy) + 0.5f) / (kCellsY * kSamples) * static_cast<float>(height_));
      const Cell &cell = map_[static_cast<size_t>(gy / kSamples) * kCellsX + static_cast<size_t>(gx / kSamples)];
      const float k = At(at(x, y)).along / cell.light;
      if (k < 0.05f || k > 0.92f) continue;
      const auto along = [&](int dx, int dy) { return At(at(x + 2 * dx, y + 2 * dy)).along; };
      const float nw = along(-1, -1), n = along(0, -1), ne = along(1, -1), w = along(-1, 0), e = along(1, 0),
                  sw = along(-1, 1), s = along(0, 1), se = along(1, 1);
      const float dx = (ne + 2 * e + se - nw - 2 * w - sw) / 4, dy = (sw + 2 * s + se - nw - 2 * n - ne) / 4;
      const float length = std::sqrt(dx * dx + dy * dy);
      if (length < 0.05f * cell.light) continue;
      const auto ox = static_cast<int>(std::floor(4 * dx / length + 0.5f)),
                 oy = static_cast<int>(std::floor(4 * dy / length + 0.5f));
      const std::array<float, 3> backing = smooth(x + ox, y + oy), middle = smooth(x, y),
                                 front = smooth(x - ox, y - oy);
      float chord[3], span = 0, t = 0;
      for (size_t c = 0; c < 3; ++c) {
        chord[c] = front[c] - backing[c];
        span += chord[c] * chord[c];
        t += chord[c] * (middle[c] - backing[c]);
      }
      if (span < 0.05f) continue;
      t /= span;
      if (std::fabs(t - 0.5f) > (blue_ ? constants_.mixing_part_blue : constants_.mixing_part_green)) continue;
      // The point of the path through linear light, taken as squares, that has the same projection.
      float low = 0, high = 1, path[3] = {};
      for (int step = 0; step < 6; ++step) {
        const float a = (low + high) / 2;
        float projection = 0;
        for (size_t c = 0; c < 3; ++c) {
          path[c] = std::sqrt(Lerp(backing[c] * backing[c], front[c] * front[c], a));
          projection += chord[c] * (path[c] - backing[c]);
        }
        (projection < t * span ? low : high) = a;
      }
      float ed = 0, dd = 0, ee = 0;
      for (size_t c = 0; c < 3; ++c) {
        const float on_chord = backing[c] + t * chord[c];
        const float off = middle[c] - on_chord, d = path[c] - on_chord;
        ed += off * d;
        dd += d * d;
        ee += off * off;
      }
      if (ee > 0.0016f + 4 * dd) continue;
      const float aside = std::max(0.0f, ee - ed * ed / std::max(dd, 1e-8f)), trust = 0.0001f / (0.0001f + aside);
      evidence += trust * ed;
      weight += trust * dd;
    }
  }
  const bool known = weight_ > 0.02;
  evidence_ = 0.95 * evidence_ + evidence;
  weight_ = 0.95 * weight_ + weight;
  const float from = blue_ ? constants_.mixing_blue : constants_.mixing_green,
              to = blue_ ? constants_.mixing_blue_to : constants_.mixing_green_to;
  const float found = weight_ > 1e-6 ? static_cast<float>(evidence_ / weight_) : 0;
  if (constants_.forced_mixing >= 0)
    mixing_ = constants_.forced_mixing;
  else if (weight_ > 0.02)
    mixing_ = Lerp(mixing_, Smooth(from, to, found), known ? constants_.mixing_rate : 1);
}

// 0 opaque to 1 clear. What the picture's alpha makes of it: 1 - t / 0.75 with the default settings.
// `steep`: how much the key changes from pixel to pixel.
float ReferenceKey::Transparency(const Pixel &p, float steep, const Cell &cell) const {
  const float s = map_mixing_;
  const Ramp &a = blue_ ? constants_.encoded_blue : constants_.encoded,
             &b = blue_ ? constants_.linear_blue : constants_.linear;
  const float black =
      std::max(Lerp(a.black, b.black, s) + cell.deviation * Lerp(a.noise, b.noise, s), constants_.black_least);
  const float aside = blue_ ? p.aside : 0, over = p.luma - key_luma_ * cell.light;
  const float brighter = std::clamp(over, 0.0f, 0.45f), darker = std::clamp(-over, 0.0f, 0.45f);
  const float protection = std::max(1 - p.most, 0.001f) / std::max(1 - key_most_ * cell.light, 0.05f);
  const float raw = p.raw + p.mixed * Saturate(constants_.mixed_steep * steep);
  const float length = blue_ ? constants_.key_length * (z_ - constants_.usual_key) : 0;
  const float covered = raw / cell.light *
                        std::pow(protection, blue_ ? constants_.white_power_blue : constants_.white_power) *
                        (1 + length * s);
  const float redder = std::max(-aside, 0.0f) * std::max(1 - constants_.redder_noise * cell.deviation, 0.0f);
  const float greener =
      std::min(std::max(aside, 0.0f) * std::max(1 - constants_.greener_noise * cell.deviation, 0.0f) *
                   (1 - s * (1 - constants_.greener_linear)) * (1 - constants_.greener_steep * steep) *
                   (1 + constants_.greener_inside * cell.certainty *
                            std::max(1 - constants_.inside_noise * cell.deviation, 0.0f)),
               1.0f);
  const float more = std::max(0.0f, constants_.redder_gain * (constants_.redder_to - covered));
  const float hidden = covered * (1 - greener + redder * more);
  const float clear = 1 - hidden - black, x = std::max(0.0f, clear);
  float alpha = Saturate(x * (Lerp(a.gain, b.gain, s) + Lerp(a.lift, b.lift, s) * brighter) +
                         Lerp(a.dark, b.dark, s) *
                             std::max(darker - (blue_ ? constants_.dark_from_blue : constants_.dark_from), 0.0f) *
                             Saturate(constants_.dark_key * (1 - hidden)));
  const float up =
      (x * (1 + Lerp(a.bend, b.bend, s) * brighter) - Lerp(a.from, b.from, s) - Lerp(a.steep, b.steep, s) * steep -
       constants_.redder_from_whole * redder * (1 - s) + constants_.greener_whole * greener) *
      Lerp(1 / (a.to - a.from), 1 / (b.to - b.from), s);
  alpha += (1 - alpha) * Smooth(0, 1, up);
  // Below the black point the rest of the range says how far: a lower `alphaUp` shows it.
  return alpha > 0 ? 0.75f * (1 - alpha) : 0.75f + 0.25f * Saturate(-20 * clear);
}

void ReferenceKey::UpdateMap(const std::vector<uint8_t> &rgba) {
  FindCells(rgba);
  FillMap();
  map_mixing_ = mixing_;
}

std::vector<float> ReferenceKey::Next(const std::vector<uint8_t> &rgba) {
  const size_t count = size_t{width_} * height_;
  if (constants_.map) {
    if (frame_ % 4 == 0) UpdateMap(rgba);
    if (frame_ == 0 || frame_ % 16 == 14) {
      FindMixing(rgba);
      FollowRatio();
    }
    // What the first picture says of itself is for that picture too.
    if (frame_ == 0) UpdateMap(rgba);
  } else {
    map_.assign(size_t{kCellsX} * kCellsY, {1, 0.05f, 0, 1});
    if (constants_.forced_mixing >= 0) map_mixing_ = constants_.forced_mixing;
  }
  std::vector<Pixel> pixels(count);
  for (size_t at = 0; at < count; ++at) pixels[at] = At(&rgba[at * 4]);
  std::vector<float> raw(count), deviation(count);
  for (uint32_t y = 0; y < height_; ++y) {
    for (uint32_t x = 0; x < width_; ++x) {
      const size_t at = size_t{y} * width_ + x;
      const Cell cell = MapAt((static_cast<float>(x) + 0.5f) / static_cast<float>(width_),
                              (static_cast<float>(y) + 0.5f) / static_cast<float>(height_));
      // Among the four pixels that are shaded together.
      const size_t beside = size_t{y} * width_ + std::min(x ^ 1u, width_ - 1);
      const size_t below = size_t{std::min(y ^ 1u, height_ - 1)} * width_ + x;
      const float steep =
          std::min(std::fabs(pixels[beside].raw - pixels[at].raw) + std::fabs(pixels[below].raw - pixels[at].raw),
                   constants_.steep_most);
      raw[at] = Transparency(pixels[at], steep, cell);
      deviation[at] = cell.deviation * (blue_ ? constants_.blue_noise : 1);
    }
  }
  if (!constants_.denoise || !started_) {
    state_ = {raw, std::vector<float>(count, 1.0f)};
    started_ = true;
  } else {
    FilterOverTime(state_, raw, deviation, width_, height_, settings_.denoise_q, constants_);
  }
  ++frame_;
  std::vector<float> alpha(count);
  for (size_t i = 0; i < count; ++i)
    alpha[i] = Saturate((1 - state_.key[i] - settings_.alpha_up) / std::max(settings_.alpha_down, 0.001f));
  return alpha;
}

}  // namespace keyer_bench
