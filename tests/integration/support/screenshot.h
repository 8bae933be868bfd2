// A picture of a source, drawn as a host draws a screenshot: from any thread, inside graphics.
#pragma once

#include <obs.h>

#include <array>
#include <cstdint>
#include <vector>

namespace vanta_integration {

// RGBA rows without gaps; empty when nothing could be drawn.
struct Screenshot {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> pixels;

  std::array<int, 4> At(uint32_t x, uint32_t y) const;
};

Screenshot TakeScreenshot(obs_source_t *source);

}  // namespace vanta_integration
