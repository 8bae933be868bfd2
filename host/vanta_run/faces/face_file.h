// Found faces as lines of JSON.
#pragma once

#include "common/pending_file.h"
#include "faces/face_listener.h"

namespace vanta_run {

// Owns: the listener. Borrows: the file. Threads: [control].
class FaceFile {
 public:
  // `file`: where the lines go; null is standard output. Without `wants_lines` nothing is written, only counted.
  FaceFile(PendingFile *file, bool wants_lines) : listener_(wants_lines), file_(file) {}

  FaceListener &listener() { return listener_; }
  // Seconds count from here.
  void Start() { listener_.StartOver(); }
  // What has come since. Throws Failure(kExitOutput).
  void Write();
  FaceCounts Finish();

 private:
  FaceListener listener_;
  PendingFile *const file_;
};

}  // namespace vanta_run
