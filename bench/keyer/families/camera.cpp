#include "camera.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "layer.h"

namespace keyer_bench {
namespace {

constexpr int kBlock = 8;

// Steps of the luma and of the chroma, in levels, that grow with the frequency as JPEG's do.
float Step(int u, int v, bool chroma, float quantiser) {
  const float frequency = static_cast<float>(u + v);
  return quantiser * (chroma ? 17.0f + 9.0f * frequency : 12.0f + 6.5f * frequency);
}

void QuantiseBlock(std::vector<float> &plane, uint32_t width, uint32_t x0, uint32_t y0, bool chroma, float quantiser,
                   const std::array<std::array<float, kBlock>, kBlock> &basis) {
  float in[kBlock][kBlock], half[kBlock][kBlock], out[kBlock][kBlock];
  for (int y = 0; y < kBlock; ++y)
    for (int x = 0; x < kBlock; ++x)
      in[y][x] = plane[(y0 + static_cast<uint32_t>(y)) * size_t{width} + x0 + static_cast<uint32_t>(x)];
  for (int y = 0; y < kBlock; ++y)
    for (int u = 0; u < kBlock; ++u) {
      half[y][u] = 0;
      for (int x = 0; x < kBlock; ++x) half[y][u] += in[y][x] * basis[static_cast<size_t>(u)][static_cast<size_t>(x)];
    }
  for (int v = 0; v < kBlock; ++v)
    for (int u = 0; u < kBlock; ++u) {
      float sum = 0;
      for (int y = 0; y < kBlock; ++y) sum += half[y][u] * basis[static_cast<size_t>(v)][static_cast<size_t>(y)];
      const float step = Step(u, v, chroma, quantiser);
      out[v][u] = std::round(sum / step) * step;
    }
  for (int y = 0; y < kBlock; ++y)
    for (int u = 0; u < kBlock; ++u) {
      half[y][u] = 0;
      for (int v = 0; v < kBlock; ++v) half[y][u] += out[v][u] * basis[static_cast<size_t>(v)][static_cast<size_t>(y)];
    }
  for (int y = 0; y < kBlock; ++y)
    for (int x = 0; x < kBlock; ++x) {
      float sum = 0;
      for (int u = 0; u < kBlock; ++u) sum += half[y][u] * basis[static_cast<size_t>(u)][static_cast<size_t>(x)];
      plane[(y0 + static_cast<uint32_t>(y)) * size_t{width} + x0 + static_cast<uint32_t>(x)] = sum;
    }
}

void Quantise(std::vector<float> &plane, uint32_t width, uint32_t height, bool chroma, float quantiser) {
  std::array<std::array<float, kBlock>, kBlock> basis;
  for (size_t u = 0; u < kBlock; ++u)
    for (size_t x = 0; x < kBlock; ++x)
      basis[u][x] = (u == 0 ? std::sqrt(0.125f) : 0.5f) *
                    std::cos((2.0f * static_cast<float>(x) + 1.0f) * static_cast<float>(u) * 3.14159265f / 16.0f);
  for (uint32_t y = 0; y + kBlock <= height; y += kBlock)
    for (uint32_t x = 0; x + kBlock <= width; x += kBlock) QuantiseBlock(plane, width, x, y, chroma, quantiser, basis);
}

// Half-size chroma, by the mean of four, and back by sampling between the half-size samples' centres.
void Subsample(std::vector<float> &plane, uint32_t width, uint32_t height, float quantiser) {
  const uint32_t cw = width / 2, ch = height / 2;
  std::vector<float> small(size_t{cw} * ch);
  for (uint32_t y = 0; y < ch; ++y) {
    for (uint32_t x = 0; x < cw; ++x) {
      const size_t at = size_t{2 * y} * width + 2 * x;
      const float mean = (plane[at] + plane[at + 1] + plane[at + width] + plane[at + width + 1]) / 4;
      small[size_t{y} * cw + x] = std::round(std::clamp(mean, 16.0f, 240.0f));
    }
  }
  if (quantiser > 0) Quantise(small, cw, ch, true, quantiser);
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

void ThroughVideo(std::vector<Colour> &picture, uint32_t width, uint32_t height, float quantiser) {
  std::vector<float> luma(picture.size()), cb(picture.size()), cr(picture.size());
  for (size_t i = 0; i < picture.size(); ++i) {
    const Colour &c = picture[i];
    const float y = 0.2126f * c.r + 0.7152f * c.g + 0.0722f * c.b;
    luma[i] = std::round(std::clamp(16 + 219 * y, 16.0f, 235.0f));
    cb[i] = 128 + 224 * (c.b - y) / 1.8556f;
    cr[i] = 128 + 224 * (c.r - y) / 1.5748f;
  }
  if (quantiser > 0) Quantise(luma, width, height, false, quantiser);
  Subsample(cb, width, height, quantiser);
  Subsample(cr, width, height, quantiser);
  for (size_t i = 0; i < picture.size(); ++i) {
    const float y = (luma[i] - 16) / 219, u = (cb[i] - 128) / 224, v = (cr[i] - 128) / 224;
    const float r = y + 1.5748f * v, b = y + 1.8556f * u;
    picture[i] = {r, (y - 0.2126f * r - 0.0722f * b) / 0.7152f, b};
  }
}

void Sharpen(std::vector<Colour> &picture, uint32_t width, uint32_t height, float amount) {
  std::vector<float> luma(picture.size());
  for (size_t i = 0; i < picture.size(); ++i)
    luma[i] = 0.2126f * picture[i].r + 0.7152f * picture[i].g + 0.0722f * picture[i].b;
  std::vector<float> soft = luma;
  Blur(soft, width, height, 1.2f);
  for (size_t i = 0; i < picture.size(); ++i) {
    const float more = amount * (luma[i] - soft[i]);
    picture[i] = {picture[i].r + more, picture[i].g + more, picture[i].b + more};
  }
}

void AddNoise(std::vector<Colour> &picture, uint32_t width, uint32_t height, const Family &family,
              std::mt19937 &random) {
  std::normal_distribution<float> normal(0, 1);
  for (float Colour::*channel : {&Colour::r, &Colour::g, &Colour::b}) {
    std::vector<float> grain(picture.size());
    for (float &value : grain) value = normal(random);
    float scale = family.noise / 255;
    if (family.noise_size > 0) {
      Blur(grain, width, height, family.noise_size);
      scale *= 2 * std::sqrt(3.14159265f) * family.noise_size;  // a blur leaves that part of the deviation
    }
    for (size_t i = 0; i < picture.size(); ++i) picture[i].*channel += scale * grain[i];
  }
}

}  // namespace

void ThroughCamera(std::vector<Colour> &picture, uint32_t width, uint32_t height, const Family &family,
                   std::mt19937 &random) {
  AddNoise(picture, width, height, family, random);
  if (family.sharpen > 0) Sharpen(picture, width, height, family.sharpen);
  for (Colour &c : picture) c = {std::clamp(c.r, 0.0f, 1.0f), std::clamp(c.g, 0.0f, 1.0f), std::clamp(c.b, 0.0f, 1.0f)};
  ThroughVideo(picture, width, height, family.quantiser);
}

std::vector<uint8_t> Pixels(const std::vector<Colour> &picture) {
  const auto byte = [](float value) { return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255)); };
  std::vector<uint8_t> rgba(picture.size() * 4, 255);
  for (size_t i = 0; i < picture.size(); ++i) {
    rgba[i * 4] = byte(picture[i].r);
    rgba[i * 4 + 1] = byte(picture[i].g);
    rgba[i * 4 + 2] = byte(picture[i].b);
  }
  return rgba;
}

}  // namespace keyer_bench
