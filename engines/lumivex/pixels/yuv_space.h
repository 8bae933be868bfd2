// A frame's colour code as numbers: matrix, range, and the conversion between its 8-bit codes and RGB.
#pragma once

#include <array>
#include <cstdint>

namespace lumivex {

struct YuvSpace {
  float kr = 0.2126f;  // luma weight of red
  float kb = 0.0722f;  // luma weight of blue
  int black = 16;      // luma code of black
  int span = 219;      // luma codes from black to white
  int chroma = 224;    // chroma codes from one end to the other, around 128

  bool operator==(const YuvSpace &) const = default;
};

using Rgb = std::array<float, 3>;  // 0 to 1; codes that no RGB colour has lie outside

// The space that one of LX::ColorCode names; any other number is read as BT.709 partial.
YuvSpace SpaceOf(int32_t color_code);

Rgb ToRgb(const YuvSpace &space, float y, float u, float v);
// Y, U, V codes, not clamped.
std::array<float, 3> FromRgb(const YuvSpace &space, const Rgb &rgb);

}  // namespace lumivex
