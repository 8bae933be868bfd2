#include "public_keys.h"

#include <algorithm>
#include <cmath>

namespace keyer_bench {
namespace {

float Saturate(float x) {
  return std::clamp(x, 0.0f, 1.0f);
}

Colour At(const std::vector<uint8_t> &rgba, size_t index) {
  const uint8_t *p = &rgba[index * 4];
  return {static_cast<float>(p[0]) / 255, static_cast<float>(p[1]) / 255, static_cast<float>(p[2]) / 255};
}

// Distance in BT.709's chroma, a box of 3x3 samples with the weights that two bilinear taps a side give.
std::vector<float> StockMeasure(const FamilyTake &take, size_t frame) {
  const auto chroma = [](const Colour &c, float &cb, float &cr) {
    cb = -0.100644f * c.r - 0.338572f * c.g + 0.439216f * c.b;
    cr = 0.439216f * c.r - 0.398942f * c.g - 0.040274f * c.b;
  };
  float kb, kr;
  chroma(take.key, kb, kr);
  const auto w = static_cast<int>(take.width), h = static_cast<int>(take.height);
  const std::vector<uint8_t> &rgba = take.frames[frame].rgba;
  const auto pixel = [&](int x, int y) {
    return At(rgba,
              static_cast<size_t>(std::clamp(y, 0, h - 1)) * take.width + static_cast<size_t>(std::clamp(x, 0, w - 1)));
  };
  const auto distance = [&](const Colour &c) {
    float cb, cr;
    chroma(c, cb, cr);
    return std::hypot(cb - kb, cr - kr);
  };
  const auto half = [&](int x0, int y0, int x1, int y1) {
    const Colour a = pixel(x0, y0), b = pixel(x1, y1);
    return distance({(a.r + b.r) / 2, (a.g + b.g) / 2, (a.b + b.b) / 2});
  };
  std::vector<float> out(size_t{take.width} * take.height);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      out[static_cast<size_t>(y) * take.width + static_cast<size_t>(x)] =
          (2 * (half(x - 1, y - 1, x - 1, y) + half(x + 1, y, x + 1, y + 1) + half(x - 1, y + 1, x, y + 1) +
                half(x, y - 1, x + 1, y - 1)) +
           distance(pixel(x, y))) /
          9;
  return out;
}

// From 1 at the key's own colour to 0 without any of it.
float Measure(PublicKey key, float shape, const Colour &c, const Colour &k, bool blue) {
  if (key == PublicKey::kWedge) {
    const auto uv = [](const Colour &p, float &u, float &v) {
      const float luma = 0.299f * p.r + 0.587f * p.g + 0.114f * p.b;
      u = (p.b - luma) / 0.886f;
      v = (p.r - luma) / 0.701f;
    };
    float ku, kv, u, v;
    uv(k, ku, kv);
    uv(c, u, v);
    const float length = std::max(std::hypot(ku, kv), 1e-4f);
    const float along = (u * ku + v * kv) / length, across = std::fabs(v * ku - u * kv) / length;
    return std::max(0.0f, along - across / shape) / length;
  }
  const auto p = [&](const Colour &q) { return blue ? q.b : q.g; };
  const auto o = [&](const Colour &q) { return blue ? q.g : q.b; };
  const auto other = [&](const Colour &q) { return shape * std::min(q.r, o(q)) + (1 - shape) * std::max(q.r, o(q)); };
  if (key == PublicKey::kColourDifference) return (p(c) - other(c)) / std::max(p(k) - other(k), 1e-4f);
  // The compositing node weighs the difference by what is left to white.
  return (p(c) - other(c)) * std::fabs(1 - other(c)) / std::max((p(k) - other(k)) * std::fabs(1 - other(k)), 1e-4f);
}

std::vector<float> MeasureAll(PublicKey key, float shape, const FamilyTake &take, size_t frame) {
  if (key == PublicKey::kStock) return StockMeasure(take, frame);
  const std::vector<uint8_t> &rgba = take.frames[frame].rgba;
  std::vector<float> out(rgba.size() / 4);
  for (size_t i = 0; i < out.size(); ++i) out[i] = Measure(key, shape, At(rgba, i), take.key, take.blue);
  return out;
}

float Ramp(PublicKey key, const PublicParameters &p, float measure) {
  if (key == PublicKey::kStock) return std::pow(Saturate((measure - p.low) / p.high), 1.5f);
  return Saturate((1 - measure - p.low) / std::max(p.high - p.low, 0.01f));
}

std::vector<float> Shapes(PublicKey key) {
  if (key == PublicKey::kStock) return {0};
  if (key == PublicKey::kWedge) return {0.6f, 0.85f, 1.2f, 1.7f, 2.5f};
  return {0, 0.25f, 0.5f, 0.75f, 1};
}

std::vector<float> Lows(PublicKey key) {
  if (key == PublicKey::kStock) return {0.001f, 0.01f, 0.02f, 0.03f, 0.045f, 0.06f, 0.09f, 0.12f};
  return {0, 0.04f, 0.08f, 0.12f, 0.18f, 0.24f, 0.3f, 0.4f, 0.5f};
}

std::vector<float> Highs(PublicKey key) {
  if (key == PublicKey::kStock) return {0.06f, 0.08f, 0.10f, 0.14f, 0.16f, 0.18f, 0.20f, 0.23f, 0.26f};
  return {0.4f, 0.5f, 0.6f, 0.7f, 0.8f, 0.9f, 1.0f, 1.1f};
}

}  // namespace

std::vector<float> Key(PublicKey key, const PublicParameters &parameters, const FamilyTake &take, size_t frame) {
  std::vector<float> alpha = MeasureAll(key, parameters.shape, take, frame);
  for (float &value : alpha) value = Ramp(key, parameters, value);
  return alpha;
}

PublicParameters Tune(PublicKey key, const FamilyTake &take) {
  PublicParameters best;
  double best_error = 1e30;
  for (const float shape : Shapes(key)) {
    const std::vector<float> first = MeasureAll(key, shape, take, 1),
                             last = MeasureAll(key, shape, take, take.frames.size() - 1);
    for (const float low : Lows(key)) {
      for (const float high : Highs(key)) {
        if (key != PublicKey::kStock && high <= low) continue;
        const PublicParameters p{shape, low, high};
        double error = 0;
        for (size_t i = 0; i < first.size(); i += 3)
          error += std::fabs(Ramp(key, p, first[i]) - take.frames[1].alpha[i]) +
                   std::fabs(Ramp(key, p, last[i]) - take.frames.back().alpha[i]);
        if (error < best_error) {
          best_error = error;
          best = p;
        }
      }
    }
  }
  return best;
}

}  // namespace keyer_bench
