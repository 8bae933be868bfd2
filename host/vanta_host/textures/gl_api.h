// OpenGL as this library uses it, through the loader that libobs's graphics module works with.
#pragma once

#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <GL/glcorearb.h>

#include <string>

#include "vanta_base/gl_functions.h"

namespace vanta_host {

using EglImageTargetTexture2D = void (*)(GLenum target, EGLImageKHR image);

struct GlApi : vanta::GlFunctions {
  using GlFunctions::GlFunctions;

  PFNGLGETSTRINGPROC GetString = Find("glGetString");
  PFNGLGETSTRINGIPROC GetStringi = Find("glGetStringi");
  PFNGLGENTEXTURESPROC GenTextures = Find("glGenTextures");
  PFNGLDELETETEXTURESPROC DeleteTextures = Find("glDeleteTextures");
  PFNGLBINDTEXTUREPROC BindTexture = Find("glBindTexture");
  PFNGLISTEXTUREPROC IsTexture = Find("glIsTexture");
  PFNGLGETINTEGERVPROC GetIntegerv = Find("glGetIntegerv");
  PFNGLTEXPARAMETERIPROC TexParameteri = Find("glTexParameteri");
  PFNGLGETERRORPROC GetError = Find("glGetError");
  PFNGLFLUSHPROC Flush = Find("glFlush");
  PFNGLFENCESYNCPROC FenceSync = Find("glFenceSync");
  PFNGLWAITSYNCPROC WaitSync = Find("glWaitSync");
  PFNGLDELETESYNCPROC DeleteSync = Find("glDeleteSync");
  PFNGLOBJECTLABELPROC ObjectLabel = Find("glObjectLabel");
  PFNGLGETOBJECTLABELPROC GetObjectLabel = Find("glGetObjectLabel");
  EglImageTargetTexture2D ImageTargetTexture2D = Find("glEGLImageTargetTexture2DOES");
  PFNEGLCREATEIMAGEKHRPROC CreateImage = Find("eglCreateImageKHR");
  PFNEGLDESTROYIMAGEKHRPROC DestroyImage = Find("eglDestroyImageKHR");
};

const GlApi &Gl();

// True when the calling thread has a context of EGL's.
bool HasContext();

// Why textures cannot be shared in the calling thread's context, as text for the log; empty when they can.
std::string SharingObstacle();

}  // namespace vanta_host
