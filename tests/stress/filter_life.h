// One beauty filter from its creation to its end, on paper graphics.
#pragma once

#include <cstdint>
#include <thread>

#include <obs.h>

#include "module/source_record.h"
#include "support/gs_recorder.h"
#include "support/scripted_engine.h"

namespace vanta_test {

// A filter on a source, driven as libobs drives it: frames on one thread, settings on another, drawing on a third, and
// the end on a fourth. The beauty filter must be registered.
class Life {
 public:
  Life();
  ~Life();
  Life(const Life &) = delete;
  Life &operator=(const Life &) = delete;

  // True when the frame went to the worker: then the filter gives out another one or none.
  bool Feed(uint32_t width = 64, uint32_t height = 48, video_format format = VIDEO_FORMAT_NV12, uint64_t timestamp = 0);
  void FeedUntilAt(Gate gate, uint32_t width = 64, uint32_t height = 48);
  // Settings with an orientation and, where it is not null, a request for the shared-texture path.
  void Update(int rot_deg, const char *interop = nullptr);
  void Render();
  void Remove();
  // Begins the destruction on a thread of its own, which may have to wait for the engine.
  void BeginEnd();

 private:
  obs_source parent_;
  obs_source filter_;
  const HostSourceInfo callbacks_;
  void *data_ = nullptr;
  std::thread end_;
};

}  // namespace vanta_test
