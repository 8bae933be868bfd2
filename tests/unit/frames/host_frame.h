// Host frames for tests, laid out as libobs lays them out, and NV12 engine frames with pitches of the test's choice.
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include <obs.h>

#include "engine/lumivex_api.h"
#include "unit/frames/guarded_memory.h"

namespace vanta_test {

struct HostFrameDeleter {
  void operator()(obs_source_frame *frame) const { obs_source_frame_destroy(frame); }
};
using HostFrame = std::unique_ptr<obs_source_frame, HostFrameDeleter>;

enum class Fill { kZero, kMax, kRandom };

// Every format that the host's scaler takes, NV12 included.
std::vector<video_format> ScalableFormats();
// Rows of plane `plane`, 0 when the format has no such plane.
uint32_t PlaneRows(const obs_source_frame &frame, int plane);

HostFrame MakeHostFrame(video_format format, uint32_t width, uint32_t height, Fill fill = Fill::kRandom);
void FillFrame(obs_source_frame &frame, Fill fill, uint32_t seed = 1);
std::vector<uint8_t> PixelsOf(const obs_source_frame &frame);

// A host frame whose planes lie each against a guard page, exactly as large as they must be.
class GuardedHostFrame {
 public:
  GuardedHostFrame(video_format format, uint32_t width, uint32_t height, GuardSide side);
  obs_source_frame *get() { return &frame_; }

 private:
  obs_source_frame frame_ = {};
  std::vector<GuardedMemory> planes_;
};

// An NV12 frame, fresh from a pool, with these row pitches and both planes against guard pages behind them.
std::shared_ptr<LX::FrameData> MakeEngineFrame(int width, int height, int luma_pitch, int chroma_pitch);
inline int ChromaPitch(int width) {
  return (width + 1) & ~1;
}

}  // namespace vanta_test
