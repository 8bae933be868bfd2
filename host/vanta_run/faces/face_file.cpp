#include "faces/face_file.h"

#include <cstdio>

namespace vanta_run {

void FaceFile::Write() {
  std::string text;
  for (const std::string &line : listener_.TakeLines()) text += line + '\n';
  if (text.empty()) return;
  if (file_ != nullptr) {
    file_->Append(text.data(), text.size());
    return;
  }
  // At once, so that a program at the other end of the pipe gets it while the run goes on.
  std::fputs(text.c_str(), stdout);
  std::fflush(stdout);
}

FaceCounts FaceFile::Finish() {
  Write();
  return listener_.Counts();
}

}  // namespace vanta_run
