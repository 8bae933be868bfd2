// A fake of the host's GL contexts and texture ends: the functions of textures/host_gl.h, defined in the test program,
// so that they win over vanta_host's. Each call is noted in order.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vanta_test {

struct GlHostScript {
  bool context = false;             // there can be one; off, as on a host that does not draw with EGL
  bool bind = true;                 // the driver lets a thread have it
  bool texture = true;              // every handle names a texture
  int acquire_result = 0;           // of its lock
  int release_result = 0;           // likewise
  bool complete = true;             // a framebuffer with the texture is complete
  uint32_t read_error = 0;          // GL's word after reading; 0: none
  uint8_t brighter = 0;             // what is read: this much more than Pixel in every byte
  std::vector<std::string> misses;  // GL functions that the driver lacks
};

// Threads: any, but for the script: before the calls that it is for.
namespace gl_host_double {

void Reset();
GlHostScript &Script();
std::vector<std::string> Calls();
void ClearCalls();
void SetRecording(bool on);  // of calls; off for long runs
int ContextsAlive();
int EndsOpen();

// What a read of the texture gives at `x`, `y`, in its byte `channel`.
uint8_t Pixel(uint32_t x, uint32_t y, uint32_t channel);

}  // namespace gl_host_double
}  // namespace vanta_test
