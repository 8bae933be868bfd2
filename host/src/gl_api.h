// OpenGL as this library uses it, through the loader that libobs's graphics module works with.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/glcorearb.h>

namespace vanta_host {

using EglImageTargetTexture2D = void (*)(GLenum target, EGLImageKHR image);

struct GlApi {
  PFNGLGENTEXTURESPROC GenTextures;
  PFNGLDELETETEXTURESPROC DeleteTextures;
  PFNGLBINDTEXTUREPROC BindTexture;
  PFNGLISTEXTUREPROC IsTexture;
  PFNGLGETINTEGERVPROC GetIntegerv;
  PFNGLTEXPARAMETERIPROC TexParameteri;
  PFNGLGETERRORPROC GetError;
  PFNGLFLUSHPROC Flush;
  PFNGLFENCESYNCPROC FenceSync;
  PFNGLWAITSYNCPROC WaitSync;
  PFNGLDELETESYNCPROC DeleteSync;
  PFNGLOBJECTLABELPROC ObjectLabel;
  PFNGLGETOBJECTLABELPROC GetObjectLabel;
  EglImageTargetTexture2D ImageTargetTexture2D;
  PFNEGLCREATEIMAGEKHRPROC CreateImage;
  PFNEGLDESTROYIMAGEKHRPROC DestroyImage;

  bool complete;  // every function is there
};

const GlApi &Gl();

// True when the calling thread has a context of EGL's.
bool HasContext();

}  // namespace vanta_host
