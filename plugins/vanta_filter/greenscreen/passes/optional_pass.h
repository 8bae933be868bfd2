// `OptionalPass` is a pass that an effect file may offer beyond those that every file has.
#pragma once

#include <cstdint>

#include "greenscreen/effect/green_screen_effect.h"
#include "greenscreen/settings/green_screen_settings.h"
#include "greenscreen/targets/render_target.h"

namespace vanta {

// What is on hand before the key is applied.
struct BeforeKey {
  FrameSize size;                      // of the frame
  gs_texture_t *source_tex = nullptr;  // the unfiltered frame, `size` large
  gs_texture_t *lut_tex = nullptr;     // the key table
  uint64_t frame_index = 0;            // the host's tick
  GreenScreenSettings settings;
};

// The renderer runs it between the key table and `LutApply`, once for each frame that is keyed anew. Nothing of it is
// needed for a key: a technique or a parameter that the file lacks is not logged and leaves the pass off,
// a render target that cannot be made or begun costs only what the pass would have brought, and neither lets the frame
// through unkeyed. What it found reaches `LutApply` through parameters of its own, each of whose defaults in the file
// means "there is none".
// It makes its render targets when it first runs, so that a file without it costs nothing; what it remembers from frame
// to frame lies in a `FeedbackTarget`, which follows a change of size. Threads: [render], but Bind and Release.
class OptionalPass {
 public:
  OptionalPass() = default;
  virtual ~OptionalPass() = default;
  OptionalPass(const OptionalPass &) = delete;
  OptionalPass &operator=(const OptionalPass &) = delete;

  // Once after each load: looks up what it needs, with HasTechnique and OptionalParameter. The effect outlives the time
  // to Release. Any thread; may be called without the graphics context.
  virtual void Bind(const GreenScreenEffect &effect) = 0;
  // Writes no log lines on its per-frame path. Leaves no pass begun.
  virtual void Run(const GreenScreenEffect &effect, const BeforeKey &input) VANTA_REQUIRES(graphics_context) = 0;
  // Sets what it found for `SpillSuppression`, right before that pass: libobs forgets parameters when a technique ends.
  virtual void SetForSpill(const BeforeKey &) VANTA_REQUIRES(graphics_context) {}
  // Lets render targets, parameters and state go. Safe to run twice.
  virtual void Release() VANTA_REQUIRES(graphics_context) = 0;
};

}  // namespace vanta
