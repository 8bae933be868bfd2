#include "pixels/nv12_view.h"

#include "vanta_filter/engine/lumivex_api.h"

namespace lumivex {
namespace {

constexpr int32_t kMaxSide = 65536;

}  // namespace

std::optional<Nv12View> ViewOf(const LX::FrameData &frame) {
  if (frame.layout_code != LX::LayoutCode::kNv12 || !frame.planes[0] || !frame.planes[1]) return std::nullopt;
  if (frame.width <= 0 || frame.height <= 0 || frame.width > kMaxSide || frame.height > kMaxSide) return std::nullopt;
  Nv12View view;
  view.y = frame.planes[0];
  view.uv = frame.planes[1];
  view.y_stride = frame.strides[0];
  view.uv_stride = frame.strides[1];
  view.width = frame.width;
  view.height = frame.height;
  view.chroma_width = (frame.width + 1) / 2;
  view.chroma_height = (frame.height + 1) / 2;
  if (view.y_stride < view.width || view.uv_stride < 2 * ptrdiff_t{view.chroma_width}) return std::nullopt;
  return view;
}

}  // namespace lumivex
