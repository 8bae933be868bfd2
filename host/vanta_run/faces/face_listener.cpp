#include "faces/face_listener.h"

#include <util/platform.h>

#include <algorithm>
#include <utility>

namespace vanta_run {
namespace {

constexpr uint64_t kOldNs = 1'000'000'000;

}  // namespace

FaceListener::FaceListener(bool keep_lines)
    : keep_lines_(keep_lines), signal_(obs_get_signal_handler(), "TesseraFacePointRet", OnFaces, this) {}

void FaceListener::StartOver() {
  const std::lock_guard<std::mutex> lock(mutex_);
  start_ns_ = os_gettime_ns();
  counts_ = {};
  lines_.clear();
}

std::vector<std::string> FaceListener::TakeLines() {
  const std::lock_guard<std::mutex> lock(mutex_);
  return std::exchange(lines_, {});
}

FaceCounts FaceListener::Counts() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return counts_;
}

std::optional<FaceMessage> FaceListener::Newest() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (newest_ns_ == 0 || os_gettime_ns() - newest_ns_ > kOldNs) return std::nullopt;
  return newest_;
}

void FaceListener::OnFaces(void *param, calldata_t *data) {
  auto *message = static_cast<obs_data_t *>(calldata_ptr(data, "face_point"));
  if (message != nullptr) static_cast<FaceListener *>(param)->Keep(message);
}

// The lines are made outside the lock: the graphics thread takes it for every picture that is drawn over.
void FaceListener::Keep(obs_data_t *message) {
  FaceMessage read = ReadFaceMessage(message);
  const uint64_t faces = read.points.size();
  const uint64_t now = os_gettime_ns();
  uint64_t start = 0;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    newest_ns_ = now;
    newest_ = std::move(read);
    start = start_ns_;
  }
  if (start == 0 || now < start) return;
  std::string line = keep_lines_ ? FaceLine(message, static_cast<double>(now - start) / 1e9) : std::string();
  const std::lock_guard<std::mutex> lock(mutex_);
  ++counts_.signals;
  if (faces > 0) ++counts_.with_faces;
  counts_.most_faces = std::max(counts_.most_faces, faces);
  if (keep_lines_) lines_.push_back(std::move(line));
}

}  // namespace vanta_run
