#include "greenscreen/targets/render_target.h"

namespace vanta {

RenderTarget::~RenderTarget() {
  if (!target_) return;
  const GraphicsScope graphics;
  Destroy();
}

bool RenderTarget::Create(gs_color_format format) {
  Destroy();
  target_ = gs_texrender_create(format, GS_ZS_NONE);
  return target_ != nullptr;
}

void RenderTarget::Destroy() {
  if (target_) gs_texrender_destroy(target_);
  target_ = nullptr;
}

}  // namespace vanta
