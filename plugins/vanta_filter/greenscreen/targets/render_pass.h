// `RenderPass` opens a render target for one full-frame pass and closes it again.
#pragma once

#include "greenscreen/targets/render_target.h"

namespace vanta {

// While it lives the target is cleared to transparent black and covered by the unit square, with blending off.
class RenderPass {
 public:
  RenderPass(const RenderTarget &target, FrameSize size);
  ~RenderPass();
  RenderPass(const RenderPass &) = delete;
  RenderPass &operator=(const RenderPass &) = delete;

  // False, with no state left pushed, where the target is missing, a size is 0 or libobs cannot begin it.
  explicit operator bool() const { return target_ != nullptr; }

 private:
  gs_texrender_t *target_ = nullptr;  // null: not begun
};

}  // namespace vanta
