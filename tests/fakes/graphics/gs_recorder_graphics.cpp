// The recorder's gs_* functions.
#include <cstring>

#include <graphics/vec4.h>

#include "fakes/graphics/gs_recorder.h"
#include "fakes/graphics/gs_recorder_notes.h"
#include "vanta_filter/platform/shared_texture.h"

using namespace vanta_test::gs_recorder;

struct gs_texture_render {
  std::string name;
  gs_texture texture;
  bool begun = false;  // no texture before that
};

namespace {

const char *FormatName(gs_color_format format) {
  switch (format) {
    case GS_RGBA:
      return "GS_RGBA";
    case GS_BGRA:
      return "GS_BGRA";
    case GS_BGRX:
      return "GS_BGRX";
    case GS_R8:
      return "GS_R8";
    case GS_R8G8:
      return "GS_R8G8";
    case GS_RGBA16F:
      return "GS_RGBA16F";
    default:
      return "GS_OTHER";
  }
}

std::string FlagText(uint32_t flags) {
  if (flags == GS_DYNAMIC) return "GS_DYNAMIC";
  return flags == GS_SHARED_KM_TEX ? "GS_SHARED_KM_TEX" : std::to_string(flags);
}

}  // namespace

extern "C" {

gs_texture_t *gs_texture_create(uint32_t width, uint32_t height, enum gs_color_format format, uint32_t levels,
                                const uint8_t **data, uint32_t flags) {
  if (NoteInGraphics(Text("gs_texture_create(", width, ", ", height, ", ", FormatName(format), ", ", levels, ", ",
                          data ? "data" : "null", ", ", FlagText(flags), ")"))) {
    return nullptr;
  }
  auto *texture = new gs_texture;
  texture->name = NewName("texture");
  texture->width = width;
  texture->height = height;
  texture->format = format;
  if (flags & GS_SHARED_KM_TEX) texture->shared_handle = NewHandle();
  Track(texture, texture->name);
  return texture;
}

void gs_texture_destroy(gs_texture_t *texture) {
  Destroy(texture, "gs_texture_destroy");
}

void gs_texture_set_image(gs_texture_t *texture, const uint8_t *data, uint32_t linesize, bool invert) {
  const std::string call =
      Text("gs_texture_set_image(", NameOf(texture), ", ", data ? "data" : "null", ", ", linesize, ", ", invert, ")");
  NoteInGraphics(call);
  CheckAlive(texture, call);
  if (!data) return;
  // As libobs does: it maps the texture, copies and unmaps, and a texture that is mapped cannot be mapped.
  if (texture->mapped) return AddMisuse(call + " of a mapped texture");
  texture->mapped = true;
  if (const std::function<void()> action = OnMap()) action();
  // As a driver does: whole rows of the texture's own width, so that a short buffer shows under the sanitizer.
  const size_t row = size_t{texture->width} * 4;
  texture->pixels.resize(row * texture->height);
  for (uint32_t y = 0; y < texture->height; ++y) {
    std::memcpy(texture->pixels.data() + y * row, data + size_t{y} * linesize, row < linesize ? row : linesize);
  }
  texture->mapped = false;
}

void gs_texture_unmap(gs_texture_t *texture) {
  const std::string call = Text("gs_texture_unmap(", NameOf(texture), ")");
  NoteInGraphics(call);
  CheckAlive(texture, call);
  if (!texture->mapped) AddMisuse(call + " of a texture that is not mapped");
  texture->mapped = false;
}

uint32_t gs_texture_get_width(const gs_texture_t *texture) {
  return texture ? texture->width : 0;
}
uint32_t gs_texture_get_height(const gs_texture_t *texture) {
  return texture ? texture->height : 0;
}
enum gs_color_format gs_texture_get_color_format(const gs_texture_t *texture) {
  return texture ? texture->format : GS_UNKNOWN;
}

gs_texture_t *gs_texture_open_shared(uint32_t handle) {
  if (NoteInGraphics(Text("gs_texture_open_shared(", handle, ")"))) return nullptr;
  auto *texture = new gs_texture;
  texture->name = NewName("shared");
  texture->shared_handle = handle;
  Track(texture, texture->name);
  return texture;
}

uint32_t gs_texture_get_shared_handle(gs_texture_t *texture) {
  const bool fail = NoteInGraphics(Text("gs_texture_get_shared_handle(", NameOf(texture), ")"));
  return !fail && texture && texture->shared_handle ? texture->shared_handle : static_cast<uint32_t>(-1);
}

void gs_copy_texture(gs_texture_t *destination, gs_texture_t *source) {
  const std::string call = Text("gs_copy_texture(", NameOf(destination), ", ", NameOf(source), ")");
  NoteInGraphics(call);
  CheckAlive(destination, call);
  CheckAlive(source, call);
}

int gs_texture_acquire_sync(gs_texture_t *texture, uint64_t key, uint32_t timeout_ms) {
  const std::string call = Text("gs_texture_acquire_sync(", NameOf(texture), ", ", key, ", ", timeout_ms, ")");
  if (NoteInGraphics(call)) return -1;
  CheckAlive(texture, call);
  if (AcquireResult() == 0) Bracket(1, "keyed lock");
  return AcquireResult();
}

int gs_texture_release_sync(gs_texture_t *texture, uint64_t key) {
  const std::string call = Text("gs_texture_release_sync(", NameOf(texture), ", ", key, ")");
  const bool fail = NoteInGraphics(call);
  CheckAlive(texture, call);
  Bracket(-1, "keyed lock");
  return fail ? -1 : 0;
}

gs_texrender_t *gs_texrender_create(enum gs_color_format format, enum gs_zstencil_format zsformat) {
  if (NoteInGraphics(Text("gs_texrender_create(", FormatName(format), ", ",
                          zsformat == GS_ZS_NONE ? "GS_ZS_NONE" : "GS_ZS_OTHER", ")"))) {
    return nullptr;
  }
  auto *target = new gs_texture_render;
  target->name = NewName("texrender");
  target->texture.name = target->name + ".texture";
  Track(target, target->name);
  Track(&target->texture, target->texture.name);
  return target;
}

void gs_texrender_destroy(gs_texrender_t *target) {
  if (target && NameOf(target) != "dead") Untrack(&target->texture, "gs_texrender_destroy");
  Destroy(target, "gs_texrender_destroy");
}

bool gs_texrender_begin(gs_texrender_t *target, uint32_t width, uint32_t height) {
  const std::string call = Text("gs_texrender_begin(", NameOf(target), ", ", width, ", ", height, ")");
  if (NoteInGraphics(call) || !target) return false;
  CheckAlive(target, call);
  Bracket(1, "render target");
  target->begun = true;
  target->texture.width = width;
  target->texture.height = height;
  return true;
}

bool gs_texrender_begin_with_color_space(gs_texrender_t *target, uint32_t width, uint32_t height, enum gs_color_space) {
  return gs_texrender_begin(target, width, height);
}

void gs_texrender_end(gs_texrender_t *target) {
  const std::string call = Text("gs_texrender_end(", NameOf(target), ")");
  NoteInGraphics(call);
  CheckAlive(target, call);
  Bracket(-1, "render target");
}

void gs_texrender_reset(gs_texrender_t *target) {
  NoteInGraphics(Text("gs_texrender_reset(", NameOf(target), ")"));
}

gs_texture_t *gs_texrender_get_texture(const gs_texrender_t *target) {
  if (NoteInGraphics(Text("gs_texrender_get_texture(", NameOf(target), ")")) || !target || !target->begun)
    return nullptr;
  return const_cast<gs_texture_t *>(&target->texture);
}

void gs_viewport_push(void) {
  NoteInGraphics("gs_viewport_push()");
  Bracket(1, "viewport");
}
void gs_viewport_pop(void) {
  NoteInGraphics("gs_viewport_pop()");
  Bracket(-1, "viewport");
}
void gs_projection_push(void) {
  NoteInGraphics("gs_projection_push()");
  Bracket(1, "projection");
}
void gs_projection_pop(void) {
  NoteInGraphics("gs_projection_pop()");
  Bracket(-1, "projection");
}
void gs_matrix_push(void) {
  NoteInGraphics("gs_matrix_push()");
  Bracket(1, "matrix");
}
void gs_matrix_pop(void) {
  NoteInGraphics("gs_matrix_pop()");
  Bracket(-1, "matrix");
}
void gs_blend_state_push(void) {
  NoteInGraphics("gs_blend_state_push()");
  Bracket(1, "blend state");
}
void gs_blend_state_pop(void) {
  NoteInGraphics("gs_blend_state_pop()");
  Bracket(-1, "blend state");
}
void gs_enable_blending(bool enable) {
  NoteInGraphics(Text("gs_enable_blending(", enable, ")"));
}
void gs_blend_function(enum gs_blend_type src, enum gs_blend_type dest) {
  NoteInGraphics(Text("gs_blend_function(", static_cast<int>(src), ", ", static_cast<int>(dest), ")"));
}
void gs_clear(uint32_t flags, const struct vec4 *color, float depth, uint8_t stencil) {
  NoteInGraphics(Text("gs_clear(", flags == GS_CLEAR_COLOR ? "GS_CLEAR_COLOR" : std::to_string(flags), ", (", color->x,
                      ", ", color->y, ", ", color->z, ", ", color->w, "), ", depth, ", ", static_cast<int>(stencil),
                      ")"));
}
void gs_ortho(float left, float right, float top, float bottom, float znear, float zfar) {
  NoteInGraphics(Text("gs_ortho(", left, ", ", right, ", ", top, ", ", bottom, ", ", znear, ", ", zfar, ")"));
}
void gs_set_cull_mode(enum gs_cull_mode mode) {
  NoteInGraphics(mode == GS_NEITHER ? "gs_set_cull_mode(GS_NEITHER)" : "gs_set_cull_mode(other)");
}
void gs_set_viewport(int x, int y, int width, int height) {
  NoteInGraphics(Text("gs_set_viewport(", x, ", ", y, ", ", width, ", ", height, ")"));
}
void gs_draw_sprite(gs_texture_t *texture, uint32_t flip, uint32_t width, uint32_t height) {
  NoteInGraphics(Text("gs_draw_sprite(", NameOf(texture), ", ", flip, ", ", width, ", ", height, ")"));
  if (texture) KeepDrawn(texture->pixels);
}
}
