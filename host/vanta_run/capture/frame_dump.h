// Writes one frame as it entered the filter and as it left it, with the engine's report of what it did to it.
#pragma once

#include <cstdint>

#include "capture/frame_meter.h"
#include "common/failures.h"
#include "common/options.h"
#include "common/pending_file.h"

namespace vanta_run {

// PREFIX-before.png, PREFIX-after.png and PREFIX.json. Threads: [control].
class FrameDump {
 public:
  // Creates the files. Throws Failure(kExitOutput).
  explicit FrameDump(const DumpOption &option);

  // Takes the frame, once it has come back.
  void Take(FrameMeter &meter);
  // It has entered, as one of so many frames of the run, and not come back.
  bool IsDue(uint64_t entered) const { return entered >= frame_ && pair_.after == nullptr; }
  // Each of the three by itself. Throws Failure(kExitOutput) where there is no such frame.
  void Write(uint64_t entered, Failures &failures);

 private:
  const uint64_t frame_;
  PendingFile before_, after_, json_;
  FramePair pair_;
};

}  // namespace vanta_run
