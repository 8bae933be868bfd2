// `WorkerSettings` is the worker's own copy of the host's settings.
#pragma once

#include <atomic>
#include <cstdint>
#include <obs.hpp>

#include "beauty/worker/frame_orientation.h"
#include "engine/command_receiver.h"
#include "vanta_base/mutex.h"

namespace vanta {

// Borrows: the parent, which the engine gets along with the settings. Threads: any. settings_mutex is a leaf.
class WorkerSettings {
 public:
  explicit WorkerSettings(obs_source_t *parent) : parent_(parent) {}
  WorkerSettings(const WorkerSettings &) = delete;
  WorkerSettings &operator=(const WorkerSettings &) = delete;

  // Copies `settings`, sends the engine what it needs of them and takes over the orientation, where there is one.
  void Update(obs_data_t *settings, CommandReceiver &engine) VANTA_EXCLUDES(settings_mutex_);
  void Clear() VANTA_EXCLUDES(settings_mutex_);
  // Empty before the first update and after Clear.
  OBSData Current() const VANTA_EXCLUDES(settings_mutex_);
  // Read anew for each frame. A frame may see part of an update: nothing but one picture depends on it.
  SceneOrientation Orientation() const;
  obs_source_t *parent() const { return parent_; }

 private:
  void UpdateOrientation(obs_data_t *orientation);

  obs_source_t *const parent_;
  std::atomic<uint32_t> rotate_type_{0};
  std::atomic<bool> hor_flip_{false};
  std::atomic<bool> ver_flip_{false};
  std::atomic<int32_t> rot_deg_{0};  // degrees

  mutable Mutex settings_mutex_;  // the worker reads the reference that Update swaps
  OBSData settings_ VANTA_GUARDED_BY(settings_mutex_);
};

}  // namespace vanta
