// `RenderTarget` is a texture that passes draw into.
#pragma once

#include <cstdint>
#include <utility>

#include <graphics/graphics.h>

#include "obs/graphics_scope.h"

namespace vanta {

struct FrameSize {
  uint32_t width = 0;  // pixels
  uint32_t height = 0;

  bool operator==(const FrameSize &) const = default;
};

// Has no size of its own: each pass says its size when it begins, and the texture is made anew where that differs from
// the last one. Owns a libobs render target, from Create to Destroy.
class RenderTarget {
 public:
  RenderTarget() = default;
  ~RenderTarget();  // enters graphics where Destroy was not called
  RenderTarget(const RenderTarget &) = delete;
  RenderTarget &operator=(const RenderTarget &) = delete;

  // False where libobs cannot make it. What was made before goes.
  bool Create(gs_color_format format = GS_RGBA) VANTA_REQUIRES(graphics_context);
  void Destroy() VANTA_REQUIRES(graphics_context);  // safe to run twice

  bool exists() const { return target_ != nullptr; }
  gs_texrender_t *handle() const { return target_; }
  // What the last pass drew; null before the first one. Ask again after each pass.
  gs_texture_t *Texture() const { return gs_texrender_get_texture(target_); }

  void Swap(RenderTarget &other) { std::swap(target_, other.target_); }

 private:
  gs_texrender_t *target_ = nullptr;
};

}  // namespace vanta
