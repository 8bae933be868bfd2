#include "pixels/yuv_space.h"

#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex {

YuvSpace SpaceOf(int32_t color_code) {
  YuvSpace space;
  switch (color_code) {
    case LX::ColorCode::k601Partial:
    case LX::ColorCode::k601Full:
      space.kr = 0.299f;
      space.kb = 0.114f;
      break;
    case LX::ColorCode::k2100:
      space.kr = 0.2627f;
      space.kb = 0.0593f;
      break;
    default:
      break;
  }
  if (color_code == LX::ColorCode::k601Full || color_code == LX::ColorCode::k709Full) {
    space.black = 0;
    space.span = 255;
    space.chroma = 255;
  }
  return space;
}

Rgb ToRgb(const YuvSpace &space, float y, float u, float v) {
  const float luma = (y - space.black) / space.span;
  const float blue = luma + (u - 128.0f) / space.chroma * 2.0f * (1.0f - space.kb);
  const float red = luma + (v - 128.0f) / space.chroma * 2.0f * (1.0f - space.kr);
  const float green = (luma - space.kr * red - space.kb * blue) / (1.0f - space.kr - space.kb);
  return {red, green, blue};
}

std::array<float, 3> FromRgb(const YuvSpace &space, const Rgb &rgb) {
  const float luma = space.kr * rgb[0] + (1.0f - space.kr - space.kb) * rgb[1] + space.kb * rgb[2];
  return {space.black + luma * space.span, 128.0f + (rgb[2] - luma) / (2.0f * (1.0f - space.kb)) * space.chroma,
          128.0f + (rgb[0] - luma) / (2.0f * (1.0f - space.kr)) * space.chroma};
}

}  // namespace lumivex
