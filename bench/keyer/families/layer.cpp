#include "layer.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace keyer_bench {
namespace {

constexpr float kPi = 3.14159265f;

float Smooth(float edge0, float edge1, float x) {
  const float t = std::clamp((x - edge0) / (edge1 - edge0), 0.0f, 1.0f);
  return t * t * (3 - 2 * t);
}

class Painter {
 public:
  Painter(const Family &family, bool blue, uint32_t seed, Layer &layer)
      : family_(family), blue_(blue), random_(seed * 7919u + 13u), layer_(layer) {
    w_ = static_cast<float>(layer.width);
    h_ = static_cast<float>(layer.height);
    cx_ = w_ * (0.36f + 0.12f * Unit());
    head_y_ = h_ * (0.30f + 0.05f * Unit());
    radius_ = h_ * (0.14f + 0.04f * Unit());
    half_ = h_ * (0.34f + 0.1f * Unit());
  }

  void Paint() {
    PaintBody();
    PaintHead();
    PaintHair();
    if (family_.veil > 0) PaintVeil();
    if (family_.smoke > 0) PaintSmoke();
    if (family_.glass > 0) PaintGlass();
  }

 private:
  float Unit() { return std::uniform_real_distribution<float>(0, 1)(random_); }

  // `depth`: pixels inside the nearest edge; it says how much of the backing's light falls there.
  void Over(uint32_t x, uint32_t y, const Colour &colour, float alpha, float depth) {
    const size_t at = size_t{y} * layer_.width + x;
    const float below = 1 - alpha;
    Colour &c = layer_.colour[at];
    c = {colour.r * alpha + c.r * below, colour.g * alpha + c.g * below, colour.b * alpha + c.b * below};
    layer_.alpha[at] = alpha + layer_.alpha[at] * below;
    const float spill = family_.spill * (0.1f + 0.4f * std::exp(-std::max(depth, 0.0f) / 9.0f));
    layer_.spill[at] = spill * alpha + layer_.spill[at] * below;
  }

  Colour Patch(int index) const {
    static const Colour kNear[8] = {{0.46f, 0.46f, 0.20f}, {0.80f, 0.78f, 0.15f}, {0.35f, 0.45f, 0.50f},
                                    {0.30f, 0.35f, 0.22f}, {0.20f, 0.42f, 0.46f}, {0.62f, 0.66f, 0.30f},
                                    {0.40f, 0.48f, 0.62f}, {0.25f, 0.30f, 0.40f}};
    static const Colour kLight[8] = {{0.95f, 0.95f, 0.95f}, {0.80f, 0.80f, 0.80f}, {0.60f, 0.60f, 0.60f},
                                     {0.90f, 0.88f, 0.84f}, {0.30f, 0.30f, 0.30f}, {0.10f, 0.10f, 0.10f},
                                     {0.85f, 0.65f, 0.55f}, {0.95f, 0.95f, 0.95f}};
    if (family_.cloth == Cloth::kNearKey) return kNear[index];
    if (family_.cloth == Cloth::kWhite) return kLight[index];
    if (blue_ && index == 4) return {0.2f, 0.5f, 0.25f};
    return kPalette[index];
  }

  void PaintBody() {
    const float top = h_ * 0.52f, start = Unit() * 8, slope = 0.1f + 0.25f * Unit();
    const float soft_left = 0.7f + 3 * Unit(), soft_right = 0.7f;
    for (uint32_t y = 0; y < layer_.height; ++y) {
      for (uint32_t x = 0; x < layer_.width; ++x) {
        const float fx = static_cast<float>(x), fy = static_cast<float>(y);
        const float side = half_ - std::fabs(fx - cx_);
        const float inside = std::min(side, fy - top - slope * std::fabs(fx - cx_) * 0.4f);
        const float soft = fx < cx_ ? soft_left : soft_right;
        const float alpha = Smooth(-soft, soft, inside);
        if (alpha <= 0) continue;
        const float fold = 1 + 0.08f * std::sin(0.11f * fy + 0.06f * fx) + 0.05f * std::sin(0.31f * fx + start);
        const auto index = static_cast<int>((fx - cx_ + half_) / (2 * half_) * 8 + start) & 7;
        const Colour c = Patch(index);
        Over(x, y, {std::min(c.r * fold, 1.0f), std::min(c.g * fold, 1.0f), std::min(c.b * fold, 1.0f)}, alpha, inside);
      }
    }
  }

  void PaintHead() {
    static const Colour kSkins[3] = {{0.85f, 0.65f, 0.55f}, {0.62f, 0.44f, 0.34f}, {0.36f, 0.25f, 0.20f}};
    const Colour skin = kSkins[static_cast<int>(Unit() * 2.99f)];
    for (uint32_t y = 0; y < layer_.height; ++y) {
      for (uint32_t x = 0; x < layer_.width; ++x) {
        const float dx = static_cast<float>(x) - cx_, dy = (static_cast<float>(y) - head_y_) * 0.85f;
        const float inside = radius_ - std::hypot(dx, dy);
        const float soft = 0.8f + 3.0f * Smooth(0, radius_, -dx);
        const float alpha = Smooth(-soft, soft, inside);
        const float shade = 0.85f + 0.15f * dx / radius_;
        if (alpha > 0) Over(x, y, {skin.r * shade, skin.g * shade, skin.b * shade}, alpha, inside);
      }
    }
  }

  void PaintHair() {
    const bool curly = family_.hair == Hair::kCurly;
    const Colour base = family_.hair == Hair::kBlond  ? Colour{0.72f, 0.58f, 0.36f}
                        : family_.hair == Hair::kDark ? Colour{0.07f, 0.06f, 0.06f}
                                                      : Colour{0.26f, 0.17f, 0.11f};
    const int strands = curly ? 110 : 160;
    for (int i = 0; i < strands; ++i) {
      const float shade = 0.7f + 0.6f * Unit();
      const Colour colour{base.r * shade, base.g * shade, base.b * shade};
      const float start = kPi * (0.95f + 1.1f * Unit()), opacity = 0.35f + 0.65f * Unit();
      const float width = 0.5f + 1.3f * Unit(), length = radius_ * (0.25f + 0.6f * Unit() * Unit());
      float x = cx_ + 0.96f * radius_ * std::cos(start), y = head_y_ + 0.96f * radius_ * std::sin(start) / 0.85f;
      float heading = start + 0.8f * (Unit() - 0.5f);
      const float turn = curly ? (Unit() - 0.5f) * 0.9f : (Unit() - 0.5f) * 0.12f;
      for (float gone = 0; gone < length; gone += 2.0f) {
        const float nx = x + 2.0f * std::cos(heading), ny = y + 2.0f * std::sin(heading);
        Stroke(x, y, nx, ny, width * (1 - 0.5f * gone / length), opacity, colour);
        x = nx;
        y = ny;
        heading += turn * (curly ? 1 + std::sin(gone * 0.4f) : 1.0f);
      }
    }
  }

  void Stroke(float x0, float y0, float x1, float y1, float width, float opacity, const Colour &colour) {
    const float dx = x1 - x0, dy = y1 - y0;
    for (int y = static_cast<int>(std::min(y0, y1) - 2); y <= static_cast<int>(std::max(y0, y1) + 2); ++y) {
      for (int x = static_cast<int>(std::min(x0, x1) - 2); x <= static_cast<int>(std::max(x0, x1) + 2); ++x) {
        if (x < 0 || y < 0 || x >= static_cast<int>(layer_.width) || y >= static_cast<int>(layer_.height)) continue;
        const float t = ((static_cast<float>(x) - x0) * dx + (static_cast<float>(y) - y0) * dy) / (dx * dx + dy * dy);
        if (t < 0 || t >= 1) continue;  // the next stroke goes on from here
        const float distance = std::hypot(static_cast<float>(x) - x0 - t * dx, static_cast<float>(y) - y0 - t * dy);
        const float alpha = opacity * (1 - Smooth(width * 0.5f - 0.5f, width * 0.5f + 0.5f, distance));
        if (alpha > 0) Over(static_cast<uint32_t>(x), static_cast<uint32_t>(y), colour, alpha, 2);
      }
    }
  }

  void PaintVeil() {
    const float left = cx_ + half_ * 0.8f, reach = w_ * 0.2f;
    const float phase = Unit() * 6;
    for (uint32_t y = static_cast<uint32_t>(h_ * 0.4f); y < layer_.height; ++y) {
      for (uint32_t x = static_cast<uint32_t>(left); x < layer_.width; ++x) {
        const float vx = static_cast<float>(x) - left, vy = static_cast<float>(y) - h_ * 0.4f;
        if (vx > reach) break;
        const float wave = 1 + 0.15f * std::sin(0.25f * vx + phase) + 0.1f * std::sin(0.13f * vy);
        const float alpha = std::clamp(family_.veil * (1 - vx / reach) * Smooth(0, 12, vy) * wave, 0.0f, 1.0f);
        Over(x, y, {0.82f, 0.80f, 0.84f}, alpha, 20);
      }
    }
  }

  void PaintSmoke() {
    std::vector<float> cloud(size_t{layer_.width} * layer_.height);
    std::normal_distribution<float> normal(0, 1);
    for (float &value : cloud) value = normal(random_);
    Blur(cloud, layer_.width, layer_.height, 14);
    float most = 0;
    for (const float value : cloud) most = std::max(most, value);
    for (uint32_t y = 0; y < layer_.height; ++y) {
      for (uint32_t x = 0; x < layer_.width; ++x) {
        const float value = cloud[size_t{y} * layer_.width + x] / std::max(most, 1e-6f);
        const float where = Smooth(0.25f * w_, 0.55f * w_, std::fabs(static_cast<float>(x) - cx_) + 0.2f * w_);
        const float alpha = family_.smoke * Smooth(0.1f, 0.9f, value) * where;
        if (alpha > 0) Over(x, y, {0.66f, 0.66f, 0.68f}, alpha, 40);
      }
    }
  }

  // A pane: clear within, a little light on it, an opaque rim.
  void PaintGlass() {
    const float gx = cx_ - half_ - 0.09f * w_, gy = h_ * 0.62f, rx = 0.07f * w_, ry = 0.18f * h_;
    for (uint32_t y = 0; y < layer_.height; ++y) {
      for (uint32_t x = 0; x < layer_.width; ++x) {
        const float dx = std::fabs(static_cast<float>(x) - gx) / rx, dy = std::fabs(static_cast<float>(y) - gy) / ry;
        const float inside = (1 - std::max(dx, dy)) * rx;
        if (inside < -1) continue;
        const float shine = 0.5f + 0.5f * std::sin((static_cast<float>(x) + static_cast<float>(y)) * 0.16f);
        const float within = family_.glass * (0.25f + 0.75f * shine * shine);
        const float rim = Smooth(4, 1.5f, inside);
        const float alpha = std::max(within, rim) * Smooth(-1, 1, inside);
        const Colour colour = rim > 0.5f ? Colour{0.30f, 0.32f, 0.34f} : Colour{0.86f, 0.88f, 0.90f};
        Over(x, y, colour, alpha, 20);
      }
    }
  }

  const Family &family_;
  bool blue_;
  std::mt19937 random_;
  Layer &layer_;
  float w_, h_, cx_, head_y_, radius_, half_;
};

}  // namespace

void Blur(std::vector<float> &plane, uint32_t width, uint32_t height, float sigma) {
  if (sigma <= 0) return;
  const int reach = static_cast<int>(std::ceil(3 * sigma));
  std::vector<float> kernel(static_cast<size_t>(reach) + 1);
  float total = 0;
  for (int k = 0; k <= reach; ++k) {
    kernel[static_cast<size_t>(k)] = std::exp(-static_cast<float>(k * k) / (2 * sigma * sigma));
    total += kernel[static_cast<size_t>(k)] * (k == 0 ? 1.0f : 2.0f);
  }
  const auto pass = [&](int count, int lines, size_t step, size_t line_step) {
    std::vector<float> line(static_cast<size_t>(count));
    for (int l = 0; l < lines; ++l) {
      float *const start = plane.data() + static_cast<size_t>(l) * line_step;
      for (int i = 0; i < count; ++i) {
        float sum = 0;
        for (int k = -reach; k <= reach; ++k)
          sum += kernel[static_cast<size_t>(std::abs(k))] *
                 start[static_cast<size_t>(std::clamp(i + k, 0, count - 1)) * step];
        line[static_cast<size_t>(i)] = sum / total;
      }
      for (int i = 0; i < count; ++i) start[static_cast<size_t>(i) * step] = line[static_cast<size_t>(i)];
    }
  };
  pass(static_cast<int>(width), static_cast<int>(height), 1, width);
  pass(static_cast<int>(height), static_cast<int>(width), width, 1);
}

Layer DrawSubject(const Family &family, bool blue, uint32_t seed, uint32_t width, uint32_t height) {
  Layer layer;
  layer.width = width;
  layer.height = height;
  const size_t count = size_t{width} * height;
  layer.colour.assign(count, {0, 0, 0});
  layer.alpha.assign(count, 0);
  layer.spill.assign(count, 0);
  Painter(family, blue, seed, layer).Paint();
  if (family.defocus > 0) {
    std::vector<float> plane(count);
    for (float Colour::*channel : {&Colour::r, &Colour::g, &Colour::b}) {
      for (size_t i = 0; i < count; ++i) plane[i] = layer.colour[i].*channel;
      Blur(plane, width, height, family.defocus);
      for (size_t i = 0; i < count; ++i) layer.colour[i].*channel = plane[i];
    }
    Blur(layer.alpha, width, height, family.defocus);
    Blur(layer.spill, width, height, family.defocus);
  }
  return layer;
}

Layer Moved(const Layer &layer, float shift, float length) {
  Layer out = layer;
  const int steps = length > 0.5f ? 8 : 1;
  const auto width = static_cast<int>(layer.width);
  for (uint32_t y = 0; y < layer.height; ++y) {
    for (int x = 0; x < width; ++x) {
      Colour colour{0, 0, 0};
      float alpha = 0, spill = 0;
      for (int step = 0; step < steps; ++step) {
        const float from =
            static_cast<float>(x) - shift + length * (static_cast<float>(step) / static_cast<float>(steps));
        const float floor = std::floor(from), part = from - floor;
        for (const int side : {0, 1}) {
          const int sx = std::clamp(static_cast<int>(floor) + side, 0, width - 1);
          const float weight = (side == 0 ? 1 - part : part) / static_cast<float>(steps);
          const size_t at = size_t{y} * layer.width + static_cast<size_t>(sx);
          colour.r += weight * layer.colour[at].r;
          colour.g += weight * layer.colour[at].g;
          colour.b += weight * layer.colour[at].b;
          alpha += weight * layer.alpha[at];
          spill += weight * layer.spill[at];
        }
      }
      const size_t at = size_t{y} * layer.width + static_cast<size_t>(x);
      out.colour[at] = colour;
      out.alpha[at] = alpha;
      out.spill[at] = spill;
    }
  }
  return out;
}

}  // namespace keyer_bench
