// OpenGL as the engine uses it. The host's library is the one that finds it: the engine links none. All functions are
// of OpenGL 3.0, and the host's contexts of 3.3 or later: a driver that makes one has them.
#pragma once

#include <GL/glcorearb.h>

#include "vanta_base/gl_functions.h"

namespace lumivex {

struct GlApi : vanta::GlFunctions {
  using GlFunctions::GlFunctions;

  PFNGLGENTEXTURESPROC GenTextures = Find("glGenTextures");
  PFNGLDELETETEXTURESPROC DeleteTextures = Find("glDeleteTextures");
  PFNGLBINDTEXTUREPROC BindTexture = Find("glBindTexture");
  PFNGLACTIVETEXTUREPROC ActiveTexture = Find("glActiveTexture");
  PFNGLTEXIMAGE2DPROC TexImage2D = Find("glTexImage2D");
  PFNGLTEXSUBIMAGE2DPROC TexSubImage2D = Find("glTexSubImage2D");
  PFNGLTEXPARAMETERIPROC TexParameteri = Find("glTexParameteri");
  PFNGLPIXELSTOREIPROC PixelStorei = Find("glPixelStorei");
  PFNGLGENFRAMEBUFFERSPROC GenFramebuffers = Find("glGenFramebuffers");
  PFNGLDELETEFRAMEBUFFERSPROC DeleteFramebuffers = Find("glDeleteFramebuffers");
  PFNGLBINDFRAMEBUFFERPROC BindFramebuffer = Find("glBindFramebuffer");
  PFNGLFRAMEBUFFERTEXTURE2DPROC FramebufferTexture2D = Find("glFramebufferTexture2D");
  PFNGLCHECKFRAMEBUFFERSTATUSPROC CheckFramebufferStatus = Find("glCheckFramebufferStatus");
  PFNGLVIEWPORTPROC Viewport = Find("glViewport");
  PFNGLCREATESHADERPROC CreateShader = Find("glCreateShader");
  PFNGLSHADERSOURCEPROC ShaderSource = Find("glShaderSource");
  PFNGLCOMPILESHADERPROC CompileShader = Find("glCompileShader");
  PFNGLDELETESHADERPROC DeleteShader = Find("glDeleteShader");
  PFNGLCREATEPROGRAMPROC CreateProgram = Find("glCreateProgram");
  PFNGLATTACHSHADERPROC AttachShader = Find("glAttachShader");
  PFNGLLINKPROGRAMPROC LinkProgram = Find("glLinkProgram");
  PFNGLGETPROGRAMIVPROC GetProgramiv = Find("glGetProgramiv");
  PFNGLDELETEPROGRAMPROC DeleteProgram = Find("glDeleteProgram");
  PFNGLUSEPROGRAMPROC UseProgram = Find("glUseProgram");
  PFNGLGETUNIFORMLOCATIONPROC GetUniformLocation = Find("glGetUniformLocation");
  PFNGLUNIFORM1IPROC Uniform1i = Find("glUniform1i");
  PFNGLUNIFORM4FPROC Uniform4f = Find("glUniform4f");
  PFNGLGENVERTEXARRAYSPROC GenVertexArrays = Find("glGenVertexArrays");
  PFNGLDELETEVERTEXARRAYSPROC DeleteVertexArrays = Find("glDeleteVertexArrays");
  PFNGLBINDVERTEXARRAYPROC BindVertexArray = Find("glBindVertexArray");
  PFNGLDRAWARRAYSPROC DrawArrays = Find("glDrawArrays");
};

const GlApi &Gl();

}  // namespace lumivex
