// OpenGL as the engine uses it. The host's library is the one that finds it: the engine links none. All functions are
// of OpenGL 3.0, and the host's contexts of 3.3 or later: a driver that makes one has them.
#pragma once

#include <GL/glcorearb.h>

namespace lumivex {

struct GlApi {
  PFNGLGENTEXTURESPROC GenTextures;
  PFNGLDELETETEXTURESPROC DeleteTextures;
  PFNGLBINDTEXTUREPROC BindTexture;
  PFNGLACTIVETEXTUREPROC ActiveTexture;
  PFNGLTEXIMAGE2DPROC TexImage2D;
  PFNGLTEXSUBIMAGE2DPROC TexSubImage2D;
  PFNGLTEXPARAMETERIPROC TexParameteri;
  PFNGLPIXELSTOREIPROC PixelStorei;
  PFNGLGENFRAMEBUFFERSPROC GenFramebuffers;
  PFNGLDELETEFRAMEBUFFERSPROC DeleteFramebuffers;
  PFNGLBINDFRAMEBUFFERPROC BindFramebuffer;
  PFNGLFRAMEBUFFERTEXTURE2DPROC FramebufferTexture2D;
  PFNGLCHECKFRAMEBUFFERSTATUSPROC CheckFramebufferStatus;
  PFNGLVIEWPORTPROC Viewport;
  PFNGLCREATESHADERPROC CreateShader;
  PFNGLSHADERSOURCEPROC ShaderSource;
  PFNGLCOMPILESHADERPROC CompileShader;
  PFNGLDELETESHADERPROC DeleteShader;
  PFNGLCREATEPROGRAMPROC CreateProgram;
  PFNGLATTACHSHADERPROC AttachShader;
  PFNGLLINKPROGRAMPROC LinkProgram;
  PFNGLGETPROGRAMIVPROC GetProgramiv;
  PFNGLDELETEPROGRAMPROC DeleteProgram;
  PFNGLUSEPROGRAMPROC UseProgram;
  PFNGLGETUNIFORMLOCATIONPROC GetUniformLocation;
  PFNGLUNIFORM1IPROC Uniform1i;
  PFNGLUNIFORM4FPROC Uniform4f;
  PFNGLGENVERTEXARRAYSPROC GenVertexArrays;
  PFNGLDELETEVERTEXARRAYSPROC DeleteVertexArrays;
  PFNGLBINDVERTEXARRAYPROC BindVertexArray;
  PFNGLDRAWARRAYSPROC DrawArrays;

  bool complete;  // every function was found
};

const GlApi &Gl();

}  // namespace lumivex
