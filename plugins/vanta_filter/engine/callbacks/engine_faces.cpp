#include "engine/callbacks/engine_faces.h"

#include "face_points/face_point_signal.h"
#include "face_points/landmark_parsing.h"
#include "vanta_filter/module/host_extensions.h"

namespace vanta {
namespace {

// Degrees by which points are turned before they are published. Frames go to the engine as they come, with rotation and
// flip told beside the pixels, and points are published as it gives them.
constexpr int32_t kOrientation = 0;

}  // namespace

void EngineFaces::SetFrameSize(uint32_t width, uint32_t height) {
  width_ = width;
  height_ = height;
}

void EngineFaces::Receive(const CpuData &data) {
  if (!data) return;
  const auto landmarks = data->find("landmarks");
  if (landmarks == data->end()) return;
  const auto detect_key = reinterpret_cast<uintptr_t>(parent_.load(std::memory_order_relaxed));
  MutexLock lock(mutex_);
  faces_ = FacePointResult();
  ParseLandmarkOut(landmarks->second, faces_, width_, height_, kOrientation, detect_key);
  count_.store(faces_.face_count, std::memory_order_relaxed);
  if (FacePointByLX()) PublishFacePoints(faces_, width_, height_);
}

void EngineFaces::Clear() {
  MutexLock lock(mutex_);
  faces_ = FacePointResult();
}

}  // namespace vanta
