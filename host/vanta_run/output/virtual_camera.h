// Shows the canvas to other programs as a camera's picture.
#pragma once

#include <obs.hpp>

namespace vanta_run {

// Throws Failure(kExitModule) where the system has no device for it.
void RequireVirtualCamera();

// Owns: libobs's own output, from construction to destruction. Threads: [control].
class VirtualCamera {
 public:
  // After libobs's video is up. Throws Failure(kExitModule).
  VirtualCamera();
  ~VirtualCamera();
  VirtualCamera(const VirtualCamera &) = delete;
  VirtualCamera &operator=(const VirtualCamera &) = delete;

 private:
  OBSOutputAutoRelease output_;
};

}  // namespace vanta_run
