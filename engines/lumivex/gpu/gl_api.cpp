#include "gpu/gl_api.h"

#include "vanta_host.h"

namespace lumivex {
namespace {

template <typename Function>
bool Load(Function &function, const char *name) {
  function = reinterpret_cast<Function>(vanta_host_gl_function(name));
  return function != nullptr;
}

GlApi LoadAll() {
  GlApi gl{};
  gl.complete = Load(gl.GenTextures, "glGenTextures") && Load(gl.DeleteTextures, "glDeleteTextures") &&
                Load(gl.BindTexture, "glBindTexture") && Load(gl.ActiveTexture, "glActiveTexture") &&
                Load(gl.TexImage2D, "glTexImage2D") && Load(gl.TexSubImage2D, "glTexSubImage2D") &&
                Load(gl.TexParameteri, "glTexParameteri") && Load(gl.PixelStorei, "glPixelStorei") &&
                Load(gl.GenFramebuffers, "glGenFramebuffers") && Load(gl.DeleteFramebuffers, "glDeleteFramebuffers") &&
                Load(gl.BindFramebuffer, "glBindFramebuffer") &&
                Load(gl.FramebufferTexture2D, "glFramebufferTexture2D") &&
                Load(gl.CheckFramebufferStatus, "glCheckFramebufferStatus") && Load(gl.Viewport, "glViewport") &&
                Load(gl.CreateShader, "glCreateShader") && Load(gl.ShaderSource, "glShaderSource") &&
                Load(gl.CompileShader, "glCompileShader") && Load(gl.DeleteShader, "glDeleteShader") &&
                Load(gl.CreateProgram, "glCreateProgram") && Load(gl.AttachShader, "glAttachShader") &&
                Load(gl.LinkProgram, "glLinkProgram") && Load(gl.GetProgramiv, "glGetProgramiv") &&
                Load(gl.DeleteProgram, "glDeleteProgram") && Load(gl.UseProgram, "glUseProgram") &&
                Load(gl.GetUniformLocation, "glGetUniformLocation") && Load(gl.Uniform1i, "glUniform1i") &&
                Load(gl.Uniform4f, "glUniform4f") && Load(gl.GenVertexArrays, "glGenVertexArrays") &&
                Load(gl.DeleteVertexArrays, "glDeleteVertexArrays") && Load(gl.BindVertexArray, "glBindVertexArray") &&
                Load(gl.DrawArrays, "glDrawArrays");
  return gl;
}

}  // namespace

const GlApi &Gl() {
  static const GlApi gl = LoadAll();
  return gl;
}

}  // namespace lumivex
