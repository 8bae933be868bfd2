// A thread's own drawing beside libobs: a bound context, and textures that are painted and looked at.
#pragma once

#include <GL/glcorearb.h>

#include <array>
#include <cstdint>
#include <vector>

#include "vanta_host.h"

namespace vanta_test {

using Colour = std::array<uint8_t, 4>;

// Owns: a context beside libobs's. Threads: any for construction and destruction.
class PrivateContext {
 public:
  PrivateContext() : context_(vanta_host_gl_context_create()) {}
  ~PrivateContext() { vanta_host_gl_context_destroy(context_); }
  PrivateContext(const PrivateContext &) = delete;
  PrivateContext &operator=(const PrivateContext &) = delete;

  vanta_host_gl_context *Get() const { return context_; }

 private:
  vanta_host_gl_context *context_;
};

// The context is bound between construction and destruction.
class Bound {
 public:
  explicit Bound(const PrivateContext &context)
      : context_(context.Get()), good_(vanta_host_gl_context_bind(context_)) {}
  ~Bound() { vanta_host_gl_context_unbind(context_); }
  Bound(const Bound &) = delete;
  Bound &operator=(const Bound &) = delete;

  bool Good() const { return good_; }

 private:
  vanta_host_gl_context *context_;
  bool good_;
};

// All of these need a bound context.
GLuint MakeTexture(uint32_t width, uint32_t height);
// A new storage, which the driver lets nobody replace.
void MakeStorageFixed(GLuint name, uint32_t width, uint32_t height);
void DeleteTexture(GLuint name);
void Paint(GLuint name, Colour colour);
std::vector<Colour> Look(GLuint name, uint32_t width, uint32_t height);

}  // namespace vanta_test
