// Host frames that tests make, keep and look into.
#pragma once

#include <obs.h>

#include <cstdint>
#include <memory>
#include <utility>

#include "module/host_frame.h"

namespace vanta_integration {

struct HostFrameDeleter {
  void operator()(obs_source_frame *frame) const { obs_source_frame_destroy(frame); }
};

// Owns: a frame with pixels of its own.
class HostFrame {
 public:
  HostFrame(video_format format, uint32_t width, uint32_t height);
  explicit HostFrame(const obs_source_frame &other);  // a copy, pixels, dump mark and all

  obs_source_frame *Get() const { return frame_.get(); }
  uint32_t Width() const { return frame_->width; }
  uint32_t Height() const { return frame_->height; }
  video_format Format() const { return frame_->format; }
  uint64_t Timestamp() const { return frame_->timestamp; }
  uint32_t DumpId() const { return vanta::GetDumpId(frame_.get()); }  // 0: not marked

  // A ramp from left to right that begins at `first`, in one pale colour; grey in RGB formats.
  void Draw(int first);
  // Luma, or green in RGB formats.
  int Luma(uint32_t x, uint32_t y) const;
  // Both colour differences; 128 each in RGB formats.
  std::pair<int, int> Chroma(uint32_t x, uint32_t y) const;

 private:
  void SetLuma(uint32_t x, uint32_t y, uint8_t value);
  uint8_t *LumaByte(uint32_t x, uint32_t y) const;

  std::unique_ptr<obs_source_frame, HostFrameDeleter> frame_;
};

// Every frame gets a timestamp of its own, in rising order.
HostFrame MakeFrame(int first, video_format format = VIDEO_FORMAT_NV12, uint32_t width = 64, uint32_t height = 48);
inline constexpr int kRampRise = 31;  // luma steps between the left edge and the ramp's brightest column

// Largest difference between the bytes of two frames of the same size and format; 256 where these differ.
int LargestDifference(const HostFrame &a, const HostFrame &b);
// Least and greatest luma of `a` minus that of `b`.
std::pair<int, int> LumaDifference(const HostFrame &a, const HostFrame &b);
int LargestChromaDifference(const HostFrame &a, const HostFrame &b);

}  // namespace vanta_integration
