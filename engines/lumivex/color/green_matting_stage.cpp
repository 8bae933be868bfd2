#include "color/green_matting_stage.h"

#include <algorithm>
#include <cmath>

namespace lumivex {
namespace {

// All as parts of the chroma of pure green.
constexpr float kSubject = 0.16f;        // less green than this is subject
constexpr float kBackdrop = 0.32f;       // more is backdrop
constexpr float kAside = 0.8f;           // chroma at right angles to green counts this much against it
constexpr float kSpill = 0.08f;          // green that a subject may keep
constexpr float kBackdropLevel = 0.11f;  // of white

uint8_t Mix(int subject, int backdrop, int opacity) {
  return static_cast<uint8_t>((subject * opacity + backdrop * (255 - opacity) + 127) / 255);
}

uint8_t Code(float value) {
  return static_cast<uint8_t>(std::clamp(std::lround(value), 0l, 255l));
}

}  // namespace

void GreenMattingStage::Apply(const Nv12View &view, const YuvSpace &space) {
  Prepare(space);
  opacity_.resize(static_cast<size_t>(view.chroma_width));
  for (int row = 0; row < view.chroma_height; ++row) {
    MatteChroma(view, row);
    MatteLuma(view, row);
  }
}

void GreenMattingStage::MatteChroma(const Nv12View &view, int chroma_row) {
  uint8_t *codes = view.UvRow(chroma_row);
  for (int x = 0; x < view.chroma_width; ++x) {
    const Entry &entry = table_[static_cast<size_t>(codes[2 * x]) << 8 | codes[2 * x + 1]];
    codes[2 * x] = Mix(entry.u, 128, entry.opacity);
    codes[2 * x + 1] = Mix(entry.v, 128, entry.opacity);
    opacity_[static_cast<size_t>(x)] = entry.opacity;
  }
}

void GreenMattingStage::MatteLuma(const Nv12View &view, int chroma_row) const {
  const int last = std::min(2 * chroma_row + 1, view.height - 1);
  for (int row = 2 * chroma_row; row <= last; ++row) {
    uint8_t *pixels = view.YRow(row);
    for (int x = 0; x < view.width; ++x) {
      // Across the row the matte is interpolated between chroma pairs.
      const int here = x / 2;
      const int beside = std::clamp(x % 2 ? here + 1 : here - 1, 0, view.chroma_width - 1);
      const int opacity = (3 * opacity_[static_cast<size_t>(here)] + opacity_[static_cast<size_t>(beside)] + 2) / 4;
      if (opacity != 255) pixels[x] = Mix(pixels[x], backdrop_luma_, opacity);
    }
  }
}

void GreenMattingStage::Prepare(const YuvSpace &space) {
  if (!table_.empty() && space == space_) return;
  space_ = space;
  backdrop_luma_ = Code(static_cast<float>(space.black) + kBackdropLevel * static_cast<float>(space.span));
  const auto green = FromRgb(space, {0.0f, 1.0f, 0.0f});
  const float green_u = green[1] - 128.0f;
  const float green_v = green[2] - 128.0f;
  const float length = std::hypot(green_u, green_v);

  table_.resize(size_t{256} * 256);
  for (int u = 0; u < 256; ++u) {
    for (int v = 0; v < 256; ++v) {
      const auto du = static_cast<float>(u - 128);
      const auto dv = static_cast<float>(v - 128);
      const float along = (du * green_u + dv * green_v) / (length * length);
      const float aside = std::fabs(du * green_v - dv * green_u) / (length * length);
      const float greenness = along - kAside * aside;
      const float backdrop = std::clamp((greenness - kSubject) / (kBackdrop - kSubject), 0.0f, 1.0f);
      const float spill = std::max(greenness - kSpill, 0.0f);
      Entry &entry = table_[static_cast<size_t>(u) << 8 | static_cast<size_t>(v)];
      entry.opacity = static_cast<uint8_t>(std::lround(255.0f * (1.0f - backdrop)));
      entry.u = Code(static_cast<float>(u) - spill * green_u);
      entry.v = Code(static_cast<float>(v) - spill * green_v);
    }
  }
}

}  // namespace lumivex
