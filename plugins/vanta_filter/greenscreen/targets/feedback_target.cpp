#include "greenscreen/targets/feedback_target.h"

namespace vanta {

bool FeedbackTarget::Create(gs_color_format format) {
  Forget();
  const bool state = state_.Create(format);
  return next_.Create(format) && state;
}

void FeedbackTarget::Destroy() {
  state_.Destroy();
  next_.Destroy();
  Forget();
}

gs_texture_t *FeedbackTarget::Previous(FrameSize size) const {
  return valid_ && size_ == size ? state_.Texture() : nullptr;
}

gs_texture_t *FeedbackTarget::Advance(FrameSize size) {
  state_.Swap(next_);
  gs_texture_t *const texture = state_.Texture();
  valid_ = texture != nullptr;
  size_ = size;
  return texture;
}

}  // namespace vanta
