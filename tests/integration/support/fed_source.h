// An asynchronous source that shows what a test feeds it, frame by frame.
#pragma once

#include <obs.hpp>

#include <cstdint>

#include "integration/support/host_frame.h"

namespace vanta_integration {

void RegisterFedSource();  // once after each start-up

// Unbuffered: the newest frame is the next one that the graphics thread takes.
// Owns: the source. Threads: the test's; Feed from any.
class FedSource {
 public:
  explicit FedSource(const char *name = "camera");
  ~FedSource();
  FedSource(const FedSource &) = delete;
  FedSource &operator=(const FedSource &) = delete;

  obs_source_t *Get() const { return source_; }
  void Show();  // on the canvas
  void Hide();
  void Feed(const HostFrame &frame);

 private:
  OBSSourceAutoRelease source_;
};

}  // namespace vanta_integration
