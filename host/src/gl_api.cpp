#include "gl_api.h"

namespace vanta_host {
namespace {

template <typename Function>
bool Load(Function &function, const char *name) {
  function = reinterpret_cast<Function>(eglGetProcAddress(name));
  return function != nullptr;
}

GlApi LoadAll() {
  GlApi gl{};
  gl.complete = Load(gl.GenTextures, "glGenTextures") && Load(gl.DeleteTextures, "glDeleteTextures") &&
                Load(gl.BindTexture, "glBindTexture") && Load(gl.IsTexture, "glIsTexture") &&
                Load(gl.GetIntegerv, "glGetIntegerv") && Load(gl.TexParameteri, "glTexParameteri") &&
                Load(gl.GetError, "glGetError") && Load(gl.Flush, "glFlush") && Load(gl.FenceSync, "glFenceSync") &&
                Load(gl.WaitSync, "glWaitSync") && Load(gl.DeleteSync, "glDeleteSync") &&
                Load(gl.ObjectLabel, "glObjectLabel") && Load(gl.GetObjectLabel, "glGetObjectLabel") &&
                Load(gl.ImageTargetTexture2D, "glEGLImageTargetTexture2DOES") &&
                Load(gl.CreateImage, "eglCreateImageKHR") && Load(gl.DestroyImage, "eglDestroyImageKHR");
  return gl;
}

}  // namespace

const GlApi &Gl() {
  static const GlApi gl = LoadAll();
  return gl;
}

bool HasContext() {
  return eglGetCurrentContext() != EGL_NO_CONTEXT;
}

}  // namespace vanta_host
