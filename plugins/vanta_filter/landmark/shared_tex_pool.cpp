#include "landmark/shared_tex_pool.h"

#include <utility>

#include "vanta_filter/platform/shared_texture.h"

namespace vanta {
namespace {

// Null where the host has no memory for it.
std::unique_ptr<SharedTex> MakeSharedTex(uint32_t width, uint32_t height, gs_color_format format) {
  auto made = std::make_unique<SharedTex>();
  made->texture = gs_texture_create(width, height, format, 1, nullptr, GS_SHARED_KM_TEX);
  if (!made->texture) return nullptr;
  made->shared_handle = gs_texture_get_shared_handle(made->texture);
  made->width = width;
  made->height = height;
  made->format = format;
  return made;
}

}  // namespace

void SharedTexPool::Fit(uint32_t width, uint32_t height, gs_color_format format) {
  std::deque<std::unique_ptr<SharedTex>> former;  // destroyed after the lock
  MutexLock lock(mutex_);
  if (width_ == width && height_ == height && format_ == format) return;
  textures_.swap(former);
  width_ = width;
  height_ = height;
  format_ = format;
  for (int32_t i = 0; i < kTextures; ++i) {
    if (std::unique_ptr<SharedTex> made = MakeSharedTex(width, height, format)) textures_.push_back(std::move(made));
  }
}

std::unique_ptr<SharedTex> SharedTexPool::Take() {
  MutexLock lock(mutex_);
  while (!textures_.empty()) {
    std::unique_ptr<SharedTex> texture = std::move(textures_.back());
    textures_.pop_back();
    if (texture->width == width_ && texture->height == height_ && texture->format == format_) return texture;
  }
  return nullptr;
}

void SharedTexPool::GiveBack(std::unique_ptr<SharedTex> texture) {
  MutexLock lock(mutex_);
  textures_.push_front(std::move(texture));
}

}  // namespace vanta
