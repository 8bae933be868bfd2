// `EngineFaces` keeps the faces that the engine found last, and publishes them where the host takes its points from it.
#pragma once

#include <obs.h>
#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>

#include "face_points/face_points.h"
#include "vanta_base/mutex.h"

namespace tessera {
class Any;
}

namespace vanta {

// Borrows: the parent source, which is never followed. Threads: any, but for SetFrameSize.
class EngineFaces {
 public:
  using CpuData = std::shared_ptr<std::map<std::string, std::shared_ptr<tessera::Any>>>;

  // Pixels. Before the first Receive.
  void SetFrameSize(uint32_t width, uint32_t height);
  // Its address marks the faces that come from it; may be null.
  void SetParent(obs_source_t *parent) { parent_.store(parent, std::memory_order_relaxed); }

  // The engine's data of one look. Data without "landmarks" changes nothing. Throws std::runtime_error for a value that
  // holds no result of the vision runner.
  void Receive(const CpuData &data);
  void Clear();  // the faces; their number stays
  int32_t Count() const { return count_.load(std::memory_order_relaxed); }

 private:
  uint32_t width_ = 0;
  uint32_t height_ = 0;
  std::atomic<obs_source_t *> parent_{nullptr};
  std::atomic<int32_t> count_{0};
  Mutex mutex_;  // held around parsing and publishing
  FacePointResult faces_ VANTA_GUARDED_BY(mutex_);
};

}  // namespace vanta
