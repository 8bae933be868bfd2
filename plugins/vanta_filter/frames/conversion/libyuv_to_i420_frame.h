// Host frames straight into planar engine frames, one libyuv call for each format. A library beside the frame path,
// which goes through the host's scaler and NV12.
#pragma once

#include <obs.h>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

inline constexpr int kHostFormatV210 = 22;  // the customised host's; public libobs has no such format

// Threads: any; the caller keeps both frames to itself.
struct LibYuvToI420Frame {
  // I420, NV12, YUY2, UYVY, RGBA, BGRA, BGRX, I422 and V210. I420 is copied as far as both frames' planes go, whatever
  // their sizes. Of the others `i420` stays as it was where either frame does not hold the picture, and with V210 of an
  // odd side; so it does for any other format, which is logged.
  static void CoverFrame(const obs_source_frame &frame, LX::FrameData &i420);
};

}  // namespace vanta
