#include "textures/texture_registry.h"

#include <vector>

#include "vanta_filter/platform/shared_texture.h"

namespace vanta_host {
namespace {

// What gs_texture_get_obj gives on OpenGL.
GLuint NameOf(gs_texture_t *texture) {
  const auto *name = static_cast<const GLuint *>(gs_texture_get_obj(texture));
  return name ? *name : 0;
}

bool IsPlain2D(gs_texture_t *texture) {
  return texture && gs_get_texture_type(texture) == GS_TEXTURE_2D && !gs_texture_is_rect(texture);
}

bool AreAlike(gs_texture_t *one, gs_texture_t *other) {
  return gs_texture_get_width(one) == gs_texture_get_width(other) &&
         gs_texture_get_height(one) == gs_texture_get_height(other) &&
         gs_texture_get_color_format(one) == gs_texture_get_color_format(other);
}

}  // namespace

TextureRegistry &TextureRegistry::Instance() {
  static TextureRegistry *registry = new TextureRegistry;
  return *registry;
}

TextureEnd TextureRegistry::Publish(GLuint name, uint32_t width, uint32_t height) {
  uint32_t handle = 0;
  {
    vanta::MutexLock lock(mutex_);
    do {
      handle = ++last_handle_;
    } while (handle == 0 || handle == GS_INVALID_HANDLE || published_.count(handle) != 0);
  }
  TextureEnd end;
  end.texture = SharedTexture::Of(handle, name, width, height);
  if (!end.texture) return end;
  end.id = end.texture->AddEnd(name);
  end.published = true;
  vanta::MutexLock lock(mutex_);
  published_[handle] = end.texture;
  return end;
}

std::shared_ptr<SharedTexture> TextureRegistry::Find(uint32_t handle) {
  vanta::MutexLock lock(mutex_);
  const auto found = published_.find(handle);
  return found == published_.end() ? nullptr : found->second;
}

void TextureRegistry::Close(const TextureEnd &end) {
  if (!end) return;
  if (end.published) {
    vanta::MutexLock lock(mutex_);
    const auto found = published_.find(end.texture->Handle());
    if (found != published_.end() && found->second == end.texture) published_.erase(found);
  }
  end.texture->RemoveEnd(end.id);
}

TextureEnd TextureRegistry::PublishGraphics(gs_texture_t *texture) {
  if (!HasContext() || !IsPlain2D(texture)) return {};
  CloseDestroyedGraphics();
  if (TextureEnd known = FindGraphics(texture)) return known;
  TextureEnd end = Publish(NameOf(texture), gs_texture_get_width(texture), gs_texture_get_height(texture));
  if (!end) return end;
  vanta::MutexLock lock(mutex_);
  graphics_[texture] = end;
  return end;
}

gs_texture_t *TextureRegistry::OpenGraphics(uint32_t handle) {
  if (!HasContext()) return nullptr;
  CloseDestroyedGraphics();
  TextureEnd end;
  end.texture = Find(handle);
  if (!end) return nullptr;
  // A texture without storage of its own, as libobs itself makes them for images of other owners.
  gs_texture_t *texture =
      gs_texture_create(end.texture->Width(), end.texture->Height(), GS_RGBA, 1, nullptr, GS_GL_DUMMYTEX);
  if (!texture) return nullptr;
  end.id = end.texture->ShowIn(NameOf(texture));
  if (end.id == 0) {
    gs_texture_destroy(texture);
    return nullptr;
  }
  vanta::MutexLock lock(mutex_);
  graphics_[texture] = end;
  return texture;
}

TextureEnd TextureRegistry::FindGraphics(gs_texture_t *texture) {
  TextureEnd end;
  {
    vanta::MutexLock lock(mutex_);
    const auto found = graphics_.find(texture);
    if (found == graphics_.end()) return {};
    end = found->second;
  }
  // The address may have passed on to another texture.
  return HasContext() && end.texture->IsAlive(end.id) ? end : TextureEnd{};
}

bool TextureRegistry::Exchange(gs_texture_t *keyed, gs_texture_t *drawn) {
  const TextureEnd end = FindGraphics(keyed);
  return end && IsPlain2D(drawn) && AreAlike(keyed, drawn) &&
         end.texture->Exchange(end.id, NameOf(keyed), NameOf(drawn));
}

void TextureRegistry::CloseDestroyedGraphics() {
  std::vector<TextureEnd> destroyed;
  {
    vanta::MutexLock lock(mutex_);
    for (auto at = graphics_.begin(); at != graphics_.end();) {
      if (at->second.texture->IsAlive(at->second.id)) {
        ++at;
        continue;
      }
      destroyed.push_back(at->second);
      at = graphics_.erase(at);
    }
  }
  for (const TextureEnd &end : destroyed) Close(end);
}

void TextureRegistry::Clear() {
  std::map<uint32_t, std::shared_ptr<SharedTexture>> published;
  std::map<gs_texture_t *, TextureEnd> graphics;
  {
    vanta::MutexLock lock(mutex_);
    published.swap(published_);
    graphics.swap(graphics_);
  }
  for (const auto &[texture, end] : graphics) end.texture->RemoveEnd(end.id);
}

}  // namespace vanta_host
