#include "keyer_scene.h"

#include <algorithm>
#include <cmath>
#include <random>

namespace keyer_bench {
namespace {

constexpr Colour kGreenBacking{0.20f, 0.68f, 0.28f};
constexpr Colour kBlueBacking{0.12f, 0.28f, 0.78f};
constexpr Colour kHair{0.22f, 0.14f, 0.10f};
constexpr Colour kVeil{0.80f, 0.78f, 0.82f};
constexpr Colour kGreenCloth{0.2f, 0.55f, 0.25f};  // in place of the blue one before a blue backing
constexpr int kBluePatch = 4;
constexpr int kStrands = 90;
constexpr float kSpeed = 2.5f;  // pixels a frame

float Smooth(float edge0, float edge1, float x) {
  const float t = std::clamp((x - edge0) / (edge1 - edge0), 0.0f, 1.0f);
  return t * t * (3 - 2 * t);
}

Colour Mix(const Colour &a, const Colour &b, float t) {
  return {a.r + (b.r - a.r) * t, a.g + (b.g - a.g) * t, a.b + (b.b - a.b) * t};
}

struct Strand {
  float x0, y0, x1, y1, width, alpha;  // relative to the head's centre, in head radii; width in pixels
};

std::vector<Strand> MakeStrands() {
  std::mt19937 random(7);
  std::uniform_real_distribution<float> unit(0, 1);
  std::vector<Strand> strands;
  for (int i = 0; i < kStrands; ++i) {
    const float angle = 3.1416f * (1.0f + unit(random));
    const float length = 1.1f + 0.5f * unit(random), bend = 0.4f * (unit(random) - 0.5f);
    strands.push_back({0.95f * std::cos(angle), 0.95f * std::sin(angle), length * std::cos(angle + bend),
                       length * std::sin(angle + bend), 0.6f + 1.4f * unit(random), 0.4f + 0.6f * unit(random)});
  }
  return strands;
}

float DistanceTo(const Strand &s, float x, float y) {
  const float dx = s.x1 - s.x0, dy = s.y1 - s.y0;
  const float t = std::clamp(((x - s.x0) * dx + (y - s.y0) * dy) / (dx * dx + dy * dy), 0.0f, 1.0f);
  return std::hypot(x - s.x0 - t * dx, y - s.y0 - t * dy);
}

// One point of the subject. `depth`: pixels inside the nearest edge, for the spill.
struct Point {
  Colour front;
  float alpha;
  float depth;
};

Point SubjectAt(float x, float y, const SceneOptions &o, float shift, const std::vector<Strand> &strands) {
  const float w = static_cast<float>(o.width), h = static_cast<float>(o.height);
  const float cx = w * 0.42f + shift, head_y = h * 0.32f, radius = h * 0.15f;
  Point point{kPalette[7], 0, 0};

  // Head: sharp right of its centre, ever softer to the left.
  const float head = radius - std::hypot(x - cx, y - head_y);
  const float softness = 0.8f + 5.0f * Smooth(0, radius, cx - x);
  point.alpha = Smooth(-softness, softness, head);
  point.depth = head;

  // Body: patches of cloth, a sharp and a soft shoulder.
  const float half = h * 0.42f, top = h * 0.5f;
  const float side = half - std::fabs(x - cx), down = y - top;
  const float body = std::min(side, down);
  const float body_soft = x < cx ? 4.0f : 0.8f;
  const float body_alpha = Smooth(-body_soft, body_soft, body);
  if (body_alpha > point.alpha) {
    const int patch = std::clamp(static_cast<int>((x - cx + half) / (2 * half) * 8), 0, 7);
    point = {o.blue && patch == kBluePatch ? kGreenCloth : kPalette[patch], body_alpha, body};
    const float fold = 0.06f * std::sin(0.12f * y + 0.05f * x);
    point.front = {point.front.r * (1 + fold), point.front.g * (1 + fold), point.front.b * (1 + fold)};
  }

  // Hair.
  const float hx = (x - cx) / radius, hy = (y - head_y) / radius;
  if (std::hypot(hx, hy) < 1.8f && hy < 0.3f) {
    for (const Strand &strand : strands) {
      const float distance = DistanceTo(strand, hx, hy) * radius;
      const float alpha = strand.alpha * (1 - Smooth(strand.width * 0.5f - 0.5f, strand.width * 0.5f + 0.5f, distance));
      if (alpha > 0) {
        point.front = Mix(point.front, kHair,
                          point.alpha > 0.99f ? alpha : alpha / std::max(alpha + point.alpha * (1 - alpha), 1e-3f));
        point.alpha = alpha + point.alpha * (1 - alpha);
      }
    }
  }

  // Veil: half transparent, to the right of the body.
  const float vx = x - (cx + half), vy = y - h * 0.45f;
  if (vx > 0 && vx < w * 0.16f && vy > 0) {
    const float alpha = 0.65f * (1 - vx / (w * 0.16f)) * Smooth(0, 12, vy) + 0.08f * std::sin(0.25f * vx);
    const float veil = std::clamp(alpha, 0.0f, 1.0f);
    if (veil > point.alpha) point = {kVeil, veil, 0};
  }
  return point;
}

// Half-size chroma, by the mean of four, and back by bilinear sampling between the half-size samples' centres.
void Subsample(std::vector<float> &plane, uint32_t width, uint32_t height) {
  const uint32_t cw = (width + 1) / 2, ch = (height + 1) / 2;
  std::vector<float> small(size_t{cw} * ch);
  for (uint32_t y = 0; y < ch; ++y) {
    for (uint32_t x = 0; x < cw; ++x) {
      const uint32_t x1 = std::min(2 * x + 1, width - 1), y1 = std::min(2 * y + 1, height - 1);
      const float mean = (plane[size_t{2 * y} * width + 2 * x] + plane[size_t{2 * y} * width + x1] +
                          plane[size_t{y1} * width + 2 * x] + plane[size_t{y1} * width + x1]) /
                         4;
      small[size_t{y} * cw + x] = std::round(std::clamp(mean, 16.0f, 240.0f));
    }
  }
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const float fx = std::clamp((static_cast<float>(x) - 0.5f) / 2, 0.0f, static_cast<float>(cw - 1));
      const float fy = std::clamp((static_cast<float>(y) - 0.5f) / 2, 0.0f, static_cast<float>(ch - 1));
      const auto x0 = static_cast<uint32_t>(fx), y0 = static_cast<uint32_t>(fy);
      const uint32_t x1 = std::min(x0 + 1, cw - 1), y1 = std::min(y0 + 1, ch - 1);
      const float tx = fx - static_cast<float>(x0), ty = fy - static_cast<float>(y0);
      const float top = small[size_t{y0} * cw + x0] * (1 - tx) + small[size_t{y0} * cw + x1] * tx;
      const float bottom = small[size_t{y1} * cw + x0] * (1 - tx) + small[size_t{y1} * cw + x1] * tx;
      plane[size_t{y} * width + x] = top * (1 - ty) + bottom * ty;
    }
  }
}

// BT.709, partial range, 8 bits, 4:2:0, and back.
void ThroughVideo(std::vector<Colour> &picture, uint32_t width, uint32_t height) {
  std::vector<float> luma(picture.size()), cb(picture.size()), cr(picture.size());
  for (size_t i = 0; i < picture.size(); ++i) {
    const Colour &c = picture[i];
    const float y = 0.2126f * c.r + 0.7152f * c.g + 0.0722f * c.b;
    luma[i] = std::round(std::clamp(16 + 219 * y, 16.0f, 235.0f));
    cb[i] = 128 + 224 * (c.b - y) / 1.8556f;
    cr[i] = 128 + 224 * (c.r - y) / 1.5748f;
  }
  Subsample(cb, width, height);
  Subsample(cr, width, height);
  for (size_t i = 0; i < picture.size(); ++i) {
    const float y = (luma[i] - 16) / 219, u = (cb[i] - 128) / 224, v = (cr[i] - 128) / 224;
    const float r = y + 1.5748f * v, b = y + 1.8556f * u;
    picture[i] = {r, (y - 0.2126f * r - 0.0722f * b) / 0.7152f, b};
  }
}

uint8_t Byte(float value) {
  return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255));
}

}  // namespace

Colour Scene::Backing() const {
  return options_.blue ? kBlueBacking : kGreenBacking;
}

Take Scene::Frame(int frame) const {
  static const std::vector<Strand> strands = MakeStrands();
  const uint32_t width = options_.width, height = options_.height;
  const float shift = kSpeed * static_cast<float>(std::min(frame, options_.moving_frames));
  const Colour backing = Backing();
  std::mt19937 random(static_cast<uint32_t>(1000 + frame));
  std::normal_distribution<float> noise(0, options_.noise / 255);

  Take take;
  const size_t count = size_t{width} * height;
  take.alpha.resize(count);
  take.front.resize(count);
  std::vector<Colour> picture(count);
  for (uint32_t y = 0; y < height; ++y) {
    for (uint32_t x = 0; x < width; ++x) {
      const size_t at = size_t{y} * width + x;
      const float fx = static_cast<float>(x), fy = static_cast<float>(y);
      const float light = 1.0f + 0.12f * std::sin(fx / static_cast<float>(width) * 3.0f + 0.6f) -
                          0.18f * fy / static_cast<float>(height);
      const Colour wall{backing.r * light, backing.g * light, backing.b * light};
      const Point point = SubjectAt(fx, fy, options_, shift, strands);
      // Light from the backing on the subject: strong at its edges, a little everywhere.
      const float spill = 0.05f + 0.20f * std::exp(-std::max(point.depth, 0.0f) / 9.0f);
      const Colour lit{point.front.r * (1 - spill * 0.3f) + backing.r * spill * 0.5f,
                       point.front.g * (1 - spill * 0.3f) + backing.g * spill * 0.5f,
                       point.front.b * (1 - spill * 0.3f) + backing.b * spill * 0.5f};
      take.alpha[at] = point.alpha;
      take.front[at] = point.front;
      picture[at] = Mix(wall, lit, point.alpha);
      picture[at] = {picture[at].r + noise(random), picture[at].g + noise(random), picture[at].b + noise(random)};
    }
  }
  ThroughVideo(picture, width, height);
  take.rgba.resize(count * 4);
  for (size_t i = 0; i < count; ++i) {
    take.rgba[i * 4] = Byte(picture[i].r);
    take.rgba[i * 4 + 1] = Byte(picture[i].g);
    take.rgba[i * 4 + 2] = Byte(picture[i].b);
    take.rgba[i * 4 + 3] = 255;
  }
  return take;
}

}  // namespace keyer_bench
