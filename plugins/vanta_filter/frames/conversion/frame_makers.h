// Makes engine frames with pixels of their own, outside any pool.
#pragma once

#include <cstdint>
#include <memory>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// Width and height in pixels. The first plane begins the buffer; it is freed with the last shared pointer, as the first
// plane's pointer names it then, so that frames may trade buffers. Null when a side is not positive or the buffer would
// pass INT32_MAX bytes.
std::shared_ptr<LX::FrameData> MakeI420Frame(int32_t width, int32_t height);    // zeroed; chroma sides round up
std::shared_ptr<LX::FrameData> MakeNV12Frame(int32_t width, int32_t height);    // zeroed
std::shared_ptr<LX::FrameData> MakePackedFrame(int32_t width, int32_t height);  // four bytes a pixel, undefined

}  // namespace vanta
