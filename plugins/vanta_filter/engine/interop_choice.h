// `InteropChoice` decides whether frames leave the engine as shared textures or in memory, and tells the host.
#pragma once

#include <cstdint>
#include <optional>

#include "vanta_filter/engine/lumivex_api.h"

namespace vanta {

// The engine is asked once for each object, and the choice only moves towards memory: a fall-back holds for all of them
// to the process's end.
// Threads: [worker] with render_mutex held, except the static ones [any].
class InteropChoice {
 public:
  // False without an engine, which may then be asked later. May block for 500 ms, once.
  bool IsUsable(LX::LumivexSync *engine);
  // What a frame asks of the engine in its `pixel_format`: PixelFormat's kSharedTexture, kNoGreenMatting or kFresh.
  int32_t FormatToAsk(LX::LumivexSync *engine);
  // Tells the host's flags how the frame came back.
  void RecordDelivery(const LX::FrameData &result);

  static void FallbackToNV12();
  static bool IsFallbackToNV12();
  static void SetNoGreenMatting(bool on);

 private:
  std::optional<bool> answer_;  // unset: not asked yet
};

}  // namespace vanta
