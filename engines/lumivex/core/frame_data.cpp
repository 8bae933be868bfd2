#include "gpu/shared_texture_state.h"
#include "vanta_filter/engine/lumivex_api.h"

namespace LX {

FrameData::FrameData()
    : planes{},
      strides{},
      word(0),
      color_code(LX::ColorCode::k709Partial),
      layout_code(LX::LayoutCode::kNv12),
      pixel_format(LX::PixelFormat::kFresh),
      reserved(0),
      width(0),
      height(0),
      rotation(0),
      prepared_mark(0.0f),
      flip(0),
      tessera_ms(0.0f),
      beauty_ms(0.0f),
      timestamp(0),
      stamp(0),
      dump_flag(0) {}

// A copy names the same pixels and does not keep them alive.
FrameData::FrameData(const FrameData &other) = default;
FrameData &FrameData::operator=(const FrameData &other) = default;
FrameData::~FrameData() = default;

DXGLSharedTexture::DXGLSharedTexture() : state_(std::make_shared<State>()) {}
DXGLSharedTexture::~DXGLSharedTexture() = default;
void DXGLSharedTexture::waitSync() {
  state_->writing.wait(true, std::memory_order_acquire);
}
uint64_t DXGLSharedTexture::getKeyValue() {
  return state_->key.load(std::memory_order_acquire);
}
void DXGLSharedTexture::setKeyValue(uint64_t key) {
  state_->key.store(key, std::memory_order_release);
}

}  // namespace LX
