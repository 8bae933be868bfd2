// Found faces as lines of JSON.
#pragma once

#include "common/failures.h"
#include "common/pending_file.h"
#include "faces/face_listener.h"

namespace vanta_run {

// Owns: the listener. Borrows: the file. Threads: [control].
class FaceFile {
 public:
  // `file`: where the lines go; null is standard output. Without `wants_lines` nothing is written, only
  // counted.
  FaceFile(PendingFile *file, bool wants_lines) : listener_(wants_lines), file_(file) {}

  FaceListener &listener() { return listener_; }
  // Seconds count from here.
  void Start() { listener_.StartOver(); }
  // What has come since. A write that fails is kept in `failures`, once; from then on faces are only counted.
  void Write(Failures &failures);
  // The rest; gives the file its name.
  FaceCounts Finish(Failures &failures);

 private:
  void Put(const std::string &text);

  FaceListener listener_;
  PendingFile *const file_;
  bool broken_ = false;
};

}  // namespace vanta_run
