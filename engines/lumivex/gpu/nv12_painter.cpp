#include "gpu/nv12_painter.h"

namespace lumivex {
namespace {

constexpr char kVertexShader[] = R"(#version 330 core
void main() {
  // One triangle over the whole target, from the vertex's number alone.
  vec2 corner = vec2((gl_VertexID << 1) & 2, gl_VertexID & 2);
  gl_Position = vec4(corner * 2.0 - 1.0, 0.0, 1.0);
}
)";

constexpr char kFragmentShader[] = R"(#version 330 core
uniform sampler2D luma;
uniform sampler2D chroma;
uniform vec4 code_scale;      // luma: factor, offset; chroma: factor, offset
uniform vec4 colour_weights;  // red from v; green from u, from v; blue from u
out vec4 colour;
void main() {
  float y = texelFetch(luma, ivec2(gl_FragCoord.xy), 0).r * code_scale.x + code_scale.y;
  vec2 place = (gl_FragCoord.xy * 0.5 + vec2(0.25, 0.0)) / vec2(textureSize(chroma, 0));
  vec2 uv = texture(chroma, place).rg * code_scale.z + code_scale.w;
  colour = vec4(y + colour_weights.x * uv.y, y - colour_weights.y * uv.x - colour_weights.z * uv.y,
                y + colour_weights.w * uv.x, 1.0);
}
)";

GLuint Compile(GLenum type, const char *text) {
  const GLuint shader = Gl().CreateShader(type);
  Gl().ShaderSource(shader, 1, &text, nullptr);
  Gl().CompileShader(shader);
  return shader;
}

GLuint MakePlane(GLint format, GLenum layout, int width, int height) {
  const GlApi &gl = Gl();
  GLuint name = 0;
  gl.GenTextures(1, &name);
  gl.BindTexture(GL_TEXTURE_2D, name);
  gl.TexImage2D(GL_TEXTURE_2D, 0, format, width, height, 0, layout, GL_UNSIGNED_BYTE, nullptr);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAX_LEVEL, 0);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
  gl.TexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
  return name;
}

// `pitch` in bytes. GL counts rows in pixels, so a pitch between two of them goes up row by row.
void UploadPlane(GLuint name, GLenum layout, int pixel_bytes, int width, int height, const uint8_t *data,
                 ptrdiff_t pitch) {
  const GlApi &gl = Gl();
  gl.BindTexture(GL_TEXTURE_2D, name);
  if (pitch % pixel_bytes == 0) {
    gl.PixelStorei(GL_UNPACK_ROW_LENGTH, static_cast<GLint>(pitch / pixel_bytes));
    gl.TexSubImage2D(GL_TEXTURE_2D, 0, 0, 0, width, height, layout, GL_UNSIGNED_BYTE, data);
    gl.PixelStorei(GL_UNPACK_ROW_LENGTH, 0);
    return;
  }
  for (int row = 0; row < height; ++row)
    gl.TexSubImage2D(GL_TEXTURE_2D, 0, 0, row, width, 1, layout, GL_UNSIGNED_BYTE, data + row * pitch);
}

}  // namespace

std::unique_ptr<Nv12Painter> Nv12Painter::Create(int width, int height) {
  std::unique_ptr<Nv12Painter> made(new Nv12Painter(width, height));
  if (!made->MakeProgram()) {
    made->Delete();
    return nullptr;
  }
  made->MakePlanes();
  Gl().GenVertexArrays(1, &made->vertices_);
  Gl().GenFramebuffers(1, &made->target_);
  return made;
}

void Nv12Painter::Delete() {
  const GlApi &gl = Gl();
  gl.DeleteFramebuffers(1, &target_);
  gl.DeleteVertexArrays(1, &vertices_);
  gl.DeleteTextures(1, &luma_);
  gl.DeleteTextures(1, &chroma_);
  gl.DeleteProgram(program_);
}

bool Nv12Painter::MakeProgram() {
  const GlApi &gl = Gl();
  program_ = gl.CreateProgram();
  for (const GLuint shader : {Compile(GL_VERTEX_SHADER, kVertexShader), Compile(GL_FRAGMENT_SHADER, kFragmentShader)}) {
    gl.AttachShader(program_, shader);
    gl.DeleteShader(shader);
  }
  gl.LinkProgram(program_);
  GLint linked = GL_FALSE;
  gl.GetProgramiv(program_, GL_LINK_STATUS, &linked);
  if (linked != GL_TRUE) return false;
  code_scale_ = gl.GetUniformLocation(program_, "code_scale");
  colour_weights_ = gl.GetUniformLocation(program_, "colour_weights");
  gl.UseProgram(program_);
  gl.Uniform1i(gl.GetUniformLocation(program_, "luma"), 0);
  gl.Uniform1i(gl.GetUniformLocation(program_, "chroma"), 1);
  return true;
}

void Nv12Painter::MakePlanes() {
  luma_ = MakePlane(GL_R8, GL_RED, width_, height_);
  chroma_ = MakePlane(GL_RG8, GL_RG, (width_ + 1) / 2, (height_ + 1) / 2);
  Gl().PixelStorei(GL_UNPACK_ALIGNMENT, 1);
}

bool Nv12Painter::Paint(const Nv12View &view, const YuvSpace &space, GLuint texture) {
  const GlApi &gl = Gl();
  gl.UseProgram(program_);
  Upload(view);
  SetSpace(space);
  gl.BindFramebuffer(GL_FRAMEBUFFER, target_);
  gl.FramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, texture, 0);
  const bool complete = gl.CheckFramebufferStatus(GL_FRAMEBUFFER) == GL_FRAMEBUFFER_COMPLETE;
  if (complete) {
    gl.Viewport(0, 0, width_, height_);
    gl.BindVertexArray(vertices_);
    gl.DrawArrays(GL_TRIANGLES, 0, 3);
  }
  gl.FramebufferTexture2D(GL_FRAMEBUFFER, GL_COLOR_ATTACHMENT0, GL_TEXTURE_2D, 0, 0);
  gl.BindFramebuffer(GL_FRAMEBUFFER, 0);
  return complete;
}

// Leaves both planes bound where the program reads them.
void Nv12Painter::Upload(const Nv12View &view) {
  Gl().ActiveTexture(GL_TEXTURE0);
  UploadPlane(luma_, GL_RED, 1, view.width, view.height, view.y, view.y_stride);
  Gl().ActiveTexture(GL_TEXTURE1);
  UploadPlane(chroma_, GL_RG, 2, view.chroma_width, view.chroma_height, view.uv, view.uv_stride);
}

void Nv12Painter::SetSpace(const YuvSpace &space) {
  if (space_set_ && space == space_) return;
  space_ = space;
  space_set_ = true;
  const auto span = static_cast<float>(space.span);
  const auto chroma = static_cast<float>(space.chroma);
  Gl().Uniform4f(code_scale_, 255.0f / span, -static_cast<float>(space.black) / span, 255.0f / chroma,
                 -128.0f / chroma);
  const float green = 1.0f - space.kr - space.kb;
  const float red_from_v = 2.0f * (1.0f - space.kr);
  const float blue_from_u = 2.0f * (1.0f - space.kb);
  Gl().Uniform4f(colour_weights_, red_from_v, space.kb * blue_from_u / green, space.kr * red_from_v / green,
                 blue_from_u);
}

}  // namespace lumivex
