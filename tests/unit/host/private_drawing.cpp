#include "private_drawing.h"

#include <string>

namespace vanta_test {
namespace {

template <typename Function>
Function Find(const char *name) {
  return reinterpret_cast<Function>(vanta_host_gl_function(name));
}

struct Gl {
  PFNGLGENTEXTURESPROC gen_textures = Find<PFNGLGENTEXTURESPROC>("glGenTextures");
  PFNGLDELETETEXTURESPROC delete_textures = Find<PFNGLDELETETEXTURESPROC>("glDeleteTextures");
  PFNGLBINDTEXTUREPROC bind_texture = Find<PFNGLBINDTEXTUREPROC>("glBindTexture");
  PFNGLTEXSTORAGE2DPROC tex_storage_2d = Find<PFNGLTEXSTORAGE2DPROC>("glTexStorage2D");
  PFNGLGENFRAMEBUFFERSPROC gen_framebuffers = Find<PFNGLGENFRAMEBUFFERSPROC>("glGenFramebuffers");
  PFNGLDELETEFRAMEBUFFERSPROC delete_framebuffers = Find<PFNGLDELETEFRAMEBUFFERSPROC>("glDeleteFramebuffers");
  PFNGLBINDFRAMEBUFFERPROC bind_framebuffer = Find<PFNGLBINDFRAMEBUFFERPROC>("glBindFramebuffer");
  PFNGLFRAMEBUFFERTEXTURE2DPROC framebuffer_texture = Find<PFNGLFRAMEBUFFERTEXTURE2DPROC>("glFramebufferTexture2D");
  PFNGLCLEARCOLORPROC clear_color = Find<PFNGLCLEARCOLORPROC>("glClearColor");
  PFNGLCLEARPROC clear = Find<PFNGLCLEARPROC>("glClear");
  PFNGLREADPIXELSPROC read_pixels = Find<PFNGLREADPIXELSPROC>("glReadPixels");
};

const Gl &TheGl() {
  static const Gl gl;
  return gl;
}

// Draws into the texture, or reads from it, while it lives.
class Framebuffer {
 public:
  explicit Framebuffer(GLuint texture) {
    TheGl().gen_framebuffers(1, &name_);
    TheGl().bind_framebuffer(GL_FRAMEBUFFER, name_);
    TheGl().framebuffer_texture(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
  }
  ~Framebuffer() {
    TheGl().bind_framebuffer(GL_FRAMEBUFFER, 0);
    TheGl().delete_framebuffers(1, &name_);
  }
  Framebuffer(const Framebuffer &) = delete;
  Framebuffer &operator=(const Framebuffer &) = delete;

 private:
  GLuint name_ = 0;
};

}  // namespace

GLuint MakeTexture(uint32_t width, uint32_t height) {
  GLuint name = 0;
  TheGl().gen_textures(1, &name);
  TheGl().bind_texture(GL_TEXTURE_2D, name);
  TheGl().bind_texture(GL_TEXTURE_2D, 0);
  MakeStorageFixed(name, width, height);
  return name;
}

void MakeStorageFixed(GLuint name, uint32_t width, uint32_t height) {
  TheGl().bind_texture(GL_TEXTURE_2D, name);
  TheGl().tex_storage_2d(GL_TEXTURE_2D, 1, GL_SRGB8_ALPHA8, static_cast<GLsizei>(width), static_cast<GLsizei>(height));
  TheGl().bind_texture(GL_TEXTURE_2D, 0);
}

void DeleteTexture(GLuint name) {
  TheGl().delete_textures(1, &name);
}

void Paint(GLuint name, Colour colour) {
  const Framebuffer target(name);
  TheGl().clear_color(static_cast<float>(colour[0]) / 255.0f, static_cast<float>(colour[1]) / 255.0f,
                      static_cast<float>(colour[2]) / 255.0f, static_cast<float>(colour[3]) / 255.0f);
  TheGl().clear(GL_COLOR_BUFFER_BIT);
}

std::vector<Colour> Look(GLuint name, uint32_t width, uint32_t height) {
  const Framebuffer target(name);
  std::vector<Colour> pixels(size_t{width} * height);
  TheGl().read_pixels(0, 0, static_cast<GLsizei>(width), static_cast<GLsizei>(height), GL_RGBA, GL_UNSIGNED_BYTE,
                      pixels.data());
  return pixels;
}

}  // namespace vanta_test
