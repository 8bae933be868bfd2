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

void FaceListener::Keep(obs_data_t *message) {
  FaceMessage read = ReadFaceMessage(message);
  const std::lock_guard<std::mutex> lock(mutex_);
  newest_ns_ = os_gettime_ns();
  newest_ = std::move(read);
  if (start_ns_ == 0) return;
  ++counts_.signals;
  if (!newest_.points.empty()) ++counts_.with_faces;
  counts_.most_faces = std::max<uint64_t>(counts_.most_faces, newest_.points.size());
  if (keep_lines_) lines_.push_back(FaceLine(message, static_cast<double>(newest_ns_ - start_ns_) / 1e9));
}

}  // namespace vanta_run
