// Host frames for tests, with the host's extra field.
#pragma once

#include <cstdint>
#include <memory>

#include <obs.h>

namespace vanta_test {

struct FreeFrame {
  void operator()(obs_source_frame *frame) const;
};
using TestFrame = std::unique_ptr<obs_source_frame, FreeFrame>;

// A frame as libobs allocates it, every luma byte `fill`, every chroma byte 128. `timestamp` in nanoseconds.
TestFrame MakeFrame(uint32_t width, uint32_t height, uint8_t fill = 16, uint64_t timestamp = 1,
                    video_format format = VIDEO_FORMAT_NV12);

}  // namespace vanta_test
