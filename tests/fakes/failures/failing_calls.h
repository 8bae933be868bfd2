// Lets one of the things that the module, its host layer, its engine and its runner ask the system or libobs for fail:
// the program that links this defines the functions, which then stand before the libraries' own and pass on to them.
#pragma once

#include <optional>
#include <string_view>

namespace vanta_test::failing_calls {

enum class Kind {
  kTexture,  // textures, and the targets that are drawn into
  kEffect,   // effects and their parts: shaders, samplers
  kBuffer,   // surfaces to read back from, buffers of vertices and indices
  kThread,
  kFile,  // opened for reading or writing, and folders
  kSocket,
  kContext,  // of EGL
};
// "texture", "effect", "buffer", "thread", "file", "socket", "context"
std::optional<Kind> FindKind(std::string_view name);

// From now on calls of that kind are counted, on all threads; the k-th (from 1) fails. Only those count that a library
// of the project is waiting for.
void Arm(Kind kind, int k);
// How many there were since. What is called from now on works.
int Disarm();

}  // namespace vanta_test::failing_calls
