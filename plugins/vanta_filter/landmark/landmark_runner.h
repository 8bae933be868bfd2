// `LandmarkRunner` is the vision runner as the landmark filter sets it up: one face, the fast detector.
#pragma once

#include <memory>

#include <obs.h>

#include "vanta_filter/landmark/tessera_api.h"

namespace vanta {

// Owns: the runner, once there is one. Threads: one at a time; InitRunner and Reset on the same one.
class LandmarkRunner {
 public:
  // Without models or a runner the log says so, and frames have no result. One that fails to start is used all the
  // same.
  void InitRunner();
  // Looks for faces in an I420 frame and publishes what the runner found, if it gave a result at all.
  void RunFrame(const obs_source_frame &frame);
  // Tells the log when there was one.
  void Reset();

 private:
  std::shared_ptr<tessera::TesseraRunner> runner_;
};

}  // namespace vanta
