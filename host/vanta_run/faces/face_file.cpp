#include "faces/face_file.h"

#include "common/standard_output.h"

namespace vanta_run {

void FaceFile::Write(Failures &failures) {
  std::string text;
  for (const std::string &line : listener_.TakeLines()) text += line + '\n';
  if (text.empty() || broken_) return;
  broken_ = !failures.Try([&] { Put(text); });
}

void FaceFile::Put(const std::string &text) {
  if (file_ != nullptr) {
    file_->Append(text.data(), text.size());
  } else {
    PutOnStandardOutput(text);
  }
}

FaceCounts FaceFile::Finish(Failures &failures) {
  Write(failures);
  if (file_ != nullptr && !broken_) failures.Try([this] { file_->Commit(); });
  return listener_.Counts();
}

}  // namespace vanta_run
