// What the factory writes into the fields of an engine frame, beside the pixels.
#pragma once

#include <cstdint>

#include <media-io/video-io.h>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

inline constexpr int32_t kPreparedWord = 1;
inline constexpr int32_t kFreshColorCode = LX::ColorCode::k709Partial;

inline void SetFreshFields(LX::FrameData &frame) {
  frame.word = kPreparedWord;
  frame.color_code = kFreshColorCode;
  frame.layout_code = LX::LayoutCode::kNv12;
  frame.flip = 0;
  frame.prepared_mark = LX::kPreparedFrameMark;
}

// Of libobs's enumerations; unknown spaces count as 709, ranges as partial.
constexpr int32_t ColorCode(int32_t colorspace, int32_t range) {
  const bool full = range == VIDEO_RANGE_FULL;
  switch (colorspace) {
    case VIDEO_CS_601:
      return full ? LX::ColorCode::k601Full : LX::ColorCode::k601Partial;
    case VIDEO_CS_SRGB:
      return LX::ColorCode::k709Full;
    case VIDEO_CS_2100_PQ:
    case VIDEO_CS_2100_HLG:
      return LX::ColorCode::k2100;
    default:
      return full ? LX::ColorCode::k709Full : LX::ColorCode::k709Partial;
  }
}

}  // namespace vanta
