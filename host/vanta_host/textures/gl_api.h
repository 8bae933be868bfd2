// OpenGL as this library uses it, through the loader that libobs's graphics module works with. That a function is found
// does not tell that the driver has it: eglGetProcAddress answers for any name.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/glcorearb.h>

#include <string>

namespace vanta_host {

using EglImageTargetTexture2D = void (*)(GLenum target, EGLImageKHR image);

struct GlApi {
  PFNGLGETSTRINGPROC GetString;
  PFNGLGETSTRINGIPROC GetStringi;
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

  bool complete;  // every function was found
};

const GlApi &Gl();

// True when the calling thread has a context of EGL's.
bool HasContext();

// Why textures cannot be shared in the calling thread's context, as text for the log; empty when they can.
std::string SharingObstacle();

}  // namespace vanta_host
