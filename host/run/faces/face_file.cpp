#include "faces/face_file.h"

#include <cstdio>

namespace vanta_run {

void FaceFile::Write() {
  for (std::string &line : listener_.TakeLines()) {
    line += '\n';
    if (file_ != nullptr) {
      file_->Write(line.data(), line.size());
    } else {
      std::fputs(line.c_str(), stdout);
    }
  }
  // At once, so that a program at the other end of the pipe gets it while the run goes on.
  if (file_ == nullptr) std::fflush(stdout);
}

FaceCounts FaceFile::Finish() {
  Write();
  return listener_.Counts();
}

}  // namespace vanta_run
