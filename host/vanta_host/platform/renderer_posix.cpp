// libobs's own GL context, and off-screen contexts beside it for those who draw on threads of theirs.
#include "platform/renderer.h"

#include <cstring>
#include <iterator>
#include <memory>
#include <string>

#include <obs.h>
#include <util/base.h>

#include "textures/gl_api.h"
#include "textures/texture_registry.h"
#include "textures/utf16.h"
#include "vanta_base/mutex.h"
#include "vanta_filter/textures/host_gl.h"
#include "vanta_host.h"

struct vanta_host_gl_context {
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLContext context = EGL_NO_CONTEXT;

  // What the binding thread had before.
  EGLDisplay former_display = EGL_NO_DISPLAY;
  EGLContext former_context = EGL_NO_CONTEXT;
  EGLSurface former_draw = EGL_NO_SURFACE;
  EGLSurface former_read = EGL_NO_SURFACE;
};

namespace {

using vanta::Mutex;
using vanta::MutexLock;

constexpr EGLint kContextAttributes[] = {
    EGL_CONTEXT_MAJOR_VERSION,           3,       EGL_CONTEXT_MINOR_VERSION, 3, EGL_CONTEXT_OPENGL_PROFILE_MASK,
    EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT, EGL_NONE};

// libobs's own context, as far as another must know it to share its objects.
struct Renderer {
  EGLDisplay display = EGL_NO_DISPLAY;
  EGLConfig config = nullptr;
  EGLContext context = EGL_NO_CONTEXT;  // none: textures cannot be shared, or nobody has looked yet
  std::string obstacle;                 // to sharing them, for the log

  explicit operator bool() const { return context != EGL_NO_CONTEXT; }
};

struct KnownRenderer {
  Mutex mutex;
  Renderer renderer VANTA_GUARDED_BY(mutex);
  bool was_useless VANTA_GUARDED_BY(mutex) = false;  // at some look in this session
};

KnownRenderer &TheRenderer() {
  static KnownRenderer *known = new KnownRenderer;
  return *known;
}

// Inside graphics.
Renderer PresentRenderer() {
  Renderer found;
  found.obstacle = vanta_host::SharingObstacle();
  if (!found.obstacle.empty()) return found;
  EGLContext context = eglGetCurrentContext();
  found.display = eglGetCurrentDisplay();
  EGLint id = 0;
  if (!eglQueryContext(found.display, context, EGL_CONFIG_ID, &id)) return found;
  const EGLint wanted[] = {EGL_CONFIG_ID, id, EGL_NONE};
  EGLint count = 0;
  if (eglChooseConfig(found.display, wanted, &found.config, 1, &count) && count > 0) found.context = context;
  return found;
}

const char *ObstacleTo(const Renderer &renderer) {
  if (renderer) return "the driver gave none beside libobs's own";
  return renderer.obstacle.empty() ? "libobs does not draw with EGL" : renderer.obstacle.c_str();
}

vanta_host_gl_context *MakeBeside(const Renderer &renderer) {
  auto made = std::make_unique<vanta_host_gl_context>();
  if (renderer) {
    eglBindAPI(EGL_OPENGL_API);
    made->display = renderer.display;
    made->context = eglCreateContext(renderer.display, renderer.config, renderer.context, kContextAttributes);
    if (made->context != EGL_NO_CONTEXT) return made.release();
  }
  blog(LOG_INFO, "[vanta_host] no off-screen GL context: %s", ObstacleTo(renderer));
  return nullptr;
}

}  // namespace

namespace vanta_host {

void LearnRenderer() {
  if (!obs_initialized()) return;
  obs_enter_graphics();
  const Renderer present = PresentRenderer();
  obs_leave_graphics();
  KnownRenderer &known = TheRenderer();
  MutexLock lock(known.mutex);
  known.renderer = present;
  if (!present) known.was_useless = true;
}

void ForgetRenderer() {
  KnownRenderer &known = TheRenderer();
  MutexLock lock(known.mutex);
  known.renderer = Renderer();
  known.was_useless = false;
  TextureRegistry::Instance().Clear();
}

bool HasRendererBeenUseless() {
  KnownRenderer &known = TheRenderer();
  MutexLock lock(known.mutex);
  return known.was_useless;
}

// OpenGL tells a name and no more.
HostAdapterDesc PresentAdapter() {
  HostAdapterDesc desc;
  std::memset(&desc, 0, sizeof(desc));
  if (!gs_get_context() || gs_get_device_type() != GS_DEVICE_OPENGL) return desc;
  const auto get_string = Gl().GetString;
  const GLubyte *text = get_string ? get_string(GL_RENDERER) : nullptr;
  if (text) CopyUtf16(reinterpret_cast<const char *>(text), desc.description, std::size(desc.description));
  return desc;
}

}  // namespace vanta_host

vanta_host_gl_context *vanta_host_gl_context_create(void) {
  if (!obs_initialized()) return nullptr;
  vanta_host::LearnRenderer();
  return vanta_host_gl_context_create_for_worker();
}

vanta_host_gl_context *vanta_host_gl_context_create_for_worker(void) {
  KnownRenderer &known = TheRenderer();
  Renderer renderer;
  {
    MutexLock lock(known.mutex);
    renderer = known.renderer;
  }
  return MakeBeside(renderer);
}

bool vanta_host_gl_context_bind(vanta_host_gl_context *context) {
  eglBindAPI(EGL_OPENGL_API);
  context->former_display = eglGetCurrentDisplay();
  context->former_context = eglGetCurrentContext();
  context->former_draw = eglGetCurrentSurface(EGL_DRAW);
  context->former_read = eglGetCurrentSurface(EGL_READ);
  return eglMakeCurrent(context->display, EGL_NO_SURFACE, EGL_NO_SURFACE, context->context) == EGL_TRUE;
}

void vanta_host_gl_context_unbind(vanta_host_gl_context *context) {
  if (context->former_context == EGL_NO_CONTEXT) {
    eglMakeCurrent(context->display, EGL_NO_SURFACE, EGL_NO_SURFACE, EGL_NO_CONTEXT);
    return;
  }
  eglMakeCurrent(context->former_display, context->former_draw, context->former_read, context->former_context);
}

// Where libobs has shut down in between the driver has freed the context, and refuses this without harm.
void vanta_host_gl_context_destroy(vanta_host_gl_context *context) {
  if (!context) return;
  eglDestroyContext(context->display, context->context);
  delete context;
}

void *vanta_host_gl_function(const char *name) {
  return reinterpret_cast<void *>(eglGetProcAddress(name));
}
