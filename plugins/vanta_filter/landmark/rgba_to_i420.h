// From a read-back picture to the frame that the vision runner takes.
#pragma once

#include <cstdint>
#include <memory>

#include <obs.h>

namespace vanta {

struct DestroyFrame {
  void operator()(obs_source_frame *frame) const { obs_source_frame_destroy(frame); }
};
// A frame that its holder owns, in libobs's memory.
using OwnedFrame = std::unique_ptr<obs_source_frame, DestroyFrame>;

OwnedFrame MakeI420HostFrame(uint32_t width, uint32_t height);
// Makes a new one when the size differs; what was in it is gone then.
void EnsureI420FrameSize(OwnedFrame &frame, uint32_t width, uint32_t height);

// Fills an I420 frame from as many pixels, bytes R, G, B, A, rows `linesize` bytes apart. False, and the frame as it
// was, without pixels, without a frame of that format, or when a row is too short for the frame.
bool RGBAtoI420(const uint8_t *rgba, uint32_t linesize, obs_source_frame *frame);

}  // namespace vanta
