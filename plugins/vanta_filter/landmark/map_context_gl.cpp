// Reading back on OpenGL: the device is a context beside the host's, the staging texture plain memory.
#include <GL/glcorearb.h>

#include <memory>
#include <new>

#include <util/base.h>

#include "landmark/map_context.h"
#include "vanta_base/gl_functions.h"
#include "vanta_filter/module/host_extensions.h"
#include "vanta_filter/textures/host_gl.h"

namespace vanta {

struct GlTextureDevice {
  vanta_host_gl_context *const gl_context;
};

// One with the device, but for the framebuffer: that is made where it is first used, and goes with the GL context.
struct GlTextureDeviceContext {
  GLuint framebuffer = 0;
};

struct GlStagingTexture {
  uint32_t width;   // pixels
  uint32_t height;  // pixels
  std::unique_ptr<uint8_t[]> pixels;
};

namespace {

constexpr uint32_t kAcquireWaitMs = 200;
constexpr uint32_t kBytesPerPixel = 4;

// All of OpenGL 3.0; the host's contexts are of 3.3 or later.
struct GlApi : GlFunctions {
  using GlFunctions::GlFunctions;

  PFNGLGENFRAMEBUFFERSPROC GenFramebuffers = Find("glGenFramebuffers");
  PFNGLBINDFRAMEBUFFERPROC BindFramebuffer = Find("glBindFramebuffer");
  PFNGLFRAMEBUFFERTEXTURE2DPROC FramebufferTexture2D = Find("glFramebufferTexture2D");
  PFNGLCHECKFRAMEBUFFERSTATUSPROC CheckFramebufferStatus = Find("glCheckFramebufferStatus");
  PFNGLREADPIXELSPROC ReadPixels = Find("glReadPixels");
  PFNGLGETERRORPROC GetError = Find("glGetError");
};

const GlApi &Gl() {
  static const GlApi gl(vanta_host_gl_function);
  return gl;
}

class BoundContext {
 public:
  explicit BoundContext(vanta_host_gl_context *context)
      : context_(context), bound_(vanta_host_gl_context_bind(context)) {}
  ~BoundContext() {
    if (bound_) vanta_host_gl_context_unbind(context_);
  }
  BoundContext(const BoundContext &) = delete;
  BoundContext &operator=(const BoundContext &) = delete;
  explicit operator bool() const { return bound_; }

 private:
  vanta_host_gl_context *const context_;
  const bool bound_;
};

struct CloseTexture {
  void operator()(vanta_host_texture *texture) const { vanta_host_texture_close(texture); }
};
using OpenedTexture = std::unique_ptr<vanta_host_texture, CloseTexture>;

void LogResult(const char *format, int result) {
  blog(LOG_ERROR, format, static_cast<unsigned>(result));
}

// Top row first, as libobs draws into its textures. Returns when the pixels are there: 0 or GL's error code.
GLenum ReadTexture(TextureDeviceContext &context, GLuint name, StagingTexture &staging) {
  const GlApi &gl = Gl();
  while (gl.GetError() != GL_NO_ERROR) {
  }
  if (context.framebuffer == 0) gl.GenFramebuffers(1, &context.framebuffer);
  gl.BindFramebuffer(GL_READ_FRAMEBUFFER, context.framebuffer);
  gl.FramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, name, 0);
  GLenum result = gl.CheckFramebufferStatus(GL_READ_FRAMEBUFFER);
  if (result == GL_FRAMEBUFFER_COMPLETE) {
    gl.ReadPixels(0, 0, static_cast<GLsizei>(staging.width), static_cast<GLsizei>(staging.height), GL_RGBA,
                  GL_UNSIGNED_BYTE, staging.pixels.get());
    result = gl.GetError();
  }
  gl.FramebufferTexture2D(GL_READ_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
  return result;
}

template <typename Object>
void Destroy(Object **object, const char *format) {
  blog(LOG_INFO, format, static_cast<void *>(*object));
  blog_user_define_data_report(kReportWorkers, format, static_cast<void *>(*object));
  delete *object;
  *object = nullptr;
}

}  // namespace

bool CreateD3DDevice(TextureDevice **device, TextureDeviceContext **context) {
  if (!device || !context) return false;
  if (Gl().Missing()) {
    blog(LOG_ERROR, "Failed to load OpenGL procedures");
    return false;
  }
  vanta_host_gl_context *gl_context = vanta_host_gl_context_create_for_worker();
  if (!gl_context) {
    blog(LOG_ERROR, "no GL context beside the host's");
    return false;
  }
  *device = new GlTextureDevice{gl_context};
  *context = new GlTextureDeviceContext;
  blog(LOG_INFO, "Create D3D Device %p", static_cast<void *>(*device));
  blog_user_define_data_report(kReportWorkers, "Create D3D Device %p", static_cast<void *>(*device));
  return true;
}

bool CreateStagingTexture(uint32_t width, uint32_t height, TextureDevice *device, StagingTexture **texture) {
  if (!device || !texture) return false;
  const size_t size = size_t{width} * height * kBytesPerPixel;
  std::unique_ptr<uint8_t[]> pixels(size == 0 ? nullptr : new (std::nothrow) uint8_t[size]);
  if (!pixels) {
    blog(LOG_ERROR, "Failed to create texture");
    return false;
  }
  *texture = new GlStagingTexture{width, height, std::move(pixels)};
  return true;
}

bool MapSharedHandleToCPU(uint32_t shared_handle, uint64_t acquire_key, uint64_t release_key, TextureDevice *device,
                          TextureDeviceContext *context, StagingTexture *staging, uint8_t **data, uint32_t *pitch) {
  if (!device || !context || !staging || !data || !pitch) return false;
  const BoundContext bound(device->gl_context);
  const OpenedTexture opened(bound ? vanta_host_texture_open(shared_handle) : nullptr);
  if (!opened) {
    LogResult("OpenSharedResource failed: 0x%08X", -1);
    return false;
  }
  // A time-out is a positive result and passes: the picture may be any, the chain of keys goes on.
  const int acquired = vanta_host_texture_acquire(opened.get(), acquire_key, kAcquireWaitMs);
  if (acquired < 0) {
    LogResult("AcquireSync failed: 0x%08X", acquired);
    return false;
  }
  const GLenum failure = ReadTexture(*context, vanta_host_texture_gl_name(opened.get()), *staging);
  vanta_host_texture_release(opened.get(), release_key);
  if (failure != GL_NO_ERROR) {
    LogResult("Map failed: 0x%08X", static_cast<int>(failure));
    return true;
  }
  *data = staging->pixels.get();
  *pitch = staging->width * kBytesPerPixel;
  return true;
}

void ReleaseStagingTexture(StagingTexture **texture) {
  if (!texture) return;
  delete *texture;
  *texture = nullptr;
}

void DestroyD3DDevice(TextureDevice **device, TextureDeviceContext **context) {
  if (context && *context) Destroy(context, "Destroy D3D Context %p");
  if (!device || !*device) return;
  vanta_host_gl_context *const gl_context = (*device)->gl_context;
  Destroy(device, "Destroy D3D Device %p");
  vanta_host_gl_context_destroy(gl_context);
}

}  // namespace vanta
