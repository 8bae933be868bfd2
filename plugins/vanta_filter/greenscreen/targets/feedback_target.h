// `FeedbackTarget` keeps what a pass drew in one frame for the same pass of the next.
#pragma once

#include "greenscreen/targets/render_target.h"

namespace vanta {

// What was drawn at one size is of no use at another: after a change of size there is no previous texture, once.
// Owns two render targets that take turns, so nothing is copied. Threads: [render].
class FeedbackTarget {
 public:
  // False where one of the two cannot be made.
  bool Create(gs_color_format format = GS_RGBA) VANTA_REQUIRES(graphics_context);
  void Destroy() VANTA_REQUIRES(graphics_context);
  bool exists() const { return state_.exists() && next_.exists(); }

  // What the last pass drew, if that was at `size`; else null.
  gs_texture_t *Previous(FrameSize size) const;
  // What the next pass is to draw into.
  const RenderTarget &next() const { return next_; }
  // The pass into `next` is done, at `size`: its texture, which is the next frame's previous one. Null, and nothing is
  // kept, where it has none.
  gs_texture_t *Advance(FrameSize size);
  void Forget() { valid_ = false; }

 private:
  RenderTarget state_;
  RenderTarget next_;
  bool valid_ = false;  // `state_` holds a texture of size_
  FrameSize size_;
};

}  // namespace vanta
