// A synchronous source that shows one picture, as an image source does.
#pragma once

#include <obs.hpp>

#include <cstdint>
#include <vector>

namespace vanta_integration {

// RGBA rows without gaps.
struct Picture {
  Picture(uint32_t picture_width, uint32_t picture_height)
      : width(picture_width), height(picture_height), pixels(size_t{picture_width} * picture_height * 4) {}

  uint8_t *At(uint32_t x, uint32_t y) { return pixels.data() + (size_t{y} * width + x) * 4; }
  const uint8_t *At(uint32_t x, uint32_t y) const { return pixels.data() + (size_t{y} * width + x) * 4; }
  void Fill(uint8_t r, uint8_t g, uint8_t b, uint8_t a = 255);

  uint32_t width;
  uint32_t height;
  std::vector<uint8_t> pixels;
};

// How the source draws: whether its pixels carry their colour straight or multiplied by alpha, and whether in linear
// light.
enum class Alpha { kStraight, kPremultiplied };
enum class Light { kEncoded, kLinear };

void RegisterPaintedSource();  // once after each start-up

// Owns: the source and its texture. Threads: the test's.
class PaintedSource {
 public:
  explicit PaintedSource(Alpha alpha = Alpha::kStraight, Light light = Light::kEncoded);
  ~PaintedSource();
  PaintedSource(const PaintedSource &) = delete;
  PaintedSource &operator=(const PaintedSource &) = delete;

  obs_source_t *Get() const { return source_; }
  void Paint(const Picture &picture);

 private:
  OBSSourceAutoRelease source_;
};

}  // namespace vanta_integration
