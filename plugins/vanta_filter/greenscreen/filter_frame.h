// `FilterFrame` takes one frame of the filtered source from libobs and hands it back: keyed, untouched or not at all.
#pragma once

#include <obs.h>

#include "greenscreen/effect/green_screen_effect.h"
#include "greenscreen/targets/render_target.h"
#include "obs/graphics_scope.h"

namespace vanta {

// For one render call. After a good Begin exactly one of DrawKeyed, PassThrough and a failed SourceTexture ends it.
// Borrows the source. Threads: [render].
class FilterFrame {
 public:
  explicit FilterFrame(obs_source_t *filter) : filter_(filter) {}

  // Lets libobs draw the unfiltered frame, and saves what the passes change. False, with the reason in the log and the
  // filter skipped where that still works, where there is no frame.
  bool Begin(const GreenScreenEffect &effect) VANTA_REQUIRES(graphics_context);

  FrameSize size() const { return size_; }  // 0 until it is known

  // The unfiltered frame. Null, with the reason in the log and the filter skipped, where it cannot be reached.
  gs_texture_t *SourceTexture() VANTA_REQUIRES(graphics_context);

  // False, with the reason in the log and nothing done, where the effect cannot draw the result.
  bool DrawKeyed(const GreenScreenEffect &effect, gs_texture_t *output_tex) VANTA_REQUIRES(graphics_context);
  // The frame goes on unkeyed, through the host's default effect. False, and the filter is skipped, without that.
  bool PassThrough() VANTA_REQUIRES(graphics_context);

 private:
  bool Measure() VANTA_REQUIRES(graphics_context);
  static void Restore();

  obs_source_t *const filter_;
  FrameSize size_;
  bool output_supported_ = false;  // the effect can draw the result
};

}  // namespace vanta
