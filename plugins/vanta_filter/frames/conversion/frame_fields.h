// What the factory writes into the fields of an engine frame, beside the pixels.
#pragma once

#include <bit>
#include <cstdint>

#include <media-io/video-io.h>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

inline constexpr int32_t kPreparedWord = 1;
inline constexpr int32_t kFreshColorCode = 2;
inline constexpr int32_t kLayoutNv12 = 1;
inline constexpr float kPreparedFrameMark = 67.5642166f;
static_assert(std::bit_cast<uint32_t>(kPreparedFrameMark) == 0x428720E1u);

inline void SetFreshFields(LX::FrameData &frame) {
  frame.word = kPreparedWord;
  frame.color_code = kFreshColorCode;
  frame.layout_code = kLayoutNv12;
  frame.flip = 0;
  frame.prepared_mark = kPreparedFrameMark;
}

// 601 partial 0, full 1; 709 and everything unknown partial 2, full 3; sRGB 3; BT.2100 5. Code 4 is never given.
constexpr int32_t ColorCode(int32_t colorspace, int32_t range) {
  const int32_t full = range == VIDEO_RANGE_FULL ? 1 : 0;
  switch (colorspace) {
    case VIDEO_CS_601:
      return 0 + full;
    case VIDEO_CS_SRGB:
      return 3;
    case VIDEO_CS_2100_PQ:
    case VIDEO_CS_2100_HLG:
      return 5;
    default:
      return 2 + full;
  }
}

}  // namespace vanta
