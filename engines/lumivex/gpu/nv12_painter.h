// Paints an NV12 picture into a texture, as red, green and blue.
#pragma once

#include <memory>

#include "gpu/gl_context.h"
#include "pixels/nv12_view.h"
#include "pixels/yuv_space.h"

namespace lumivex {

// Chroma lies on the left luma sample of its pair, halfway between the rows, and is blended between samples: what the
// host does with the same picture in memory.
// Owns: its GL objects, from Create to Delete. Threads: one at a time, with the context bound.
class Nv12Painter {
 public:
  // Null when the driver refuses.
  static std::unique_ptr<Nv12Painter> Create(int width, int height);
  // Only where the context is still there: else its objects have gone with it.
  void Delete();
  Nv12Painter(const Nv12Painter &) = delete;
  Nv12Painter &operator=(const Nv12Painter &) = delete;

  // The view and the texture have the painter's size. Its first row is the picture's upper one.
  bool Paint(const Nv12View &view, const YuvSpace &space, GLuint texture);

 private:
  Nv12Painter(int width, int height) : width_(width), height_(height) {}
  bool MakeProgram();
  void MakePlanes();
  void Upload(const Nv12View &view);
  void SetSpace(const YuvSpace &space);

  const int width_;
  const int height_;
  GLuint program_ = 0;
  GLuint vertices_ = 0;
  GLuint target_ = 0;
  GLuint luma_ = 0;
  GLuint chroma_ = 0;
  GLint code_scale_ = -1;
  GLint colour_weights_ = -1;
  YuvSpace space_;
  bool space_set_ = false;
};

}  // namespace lumivex
