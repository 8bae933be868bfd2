// The landmark filter's instance record.
#pragma once

#include <cstdint>
#include <memory>

#include <obs.h>

#include "landmark/tessera_landmark_filter_worker.h"
#include "platform/clock.h"
#include "stats/frame_cost_recorder.h"

namespace vanta {

// Owned by the filter source: `create` makes it, `destroy` frees it. All but `worker` is [render]'s.
struct LandmarkFilterData {
  explicit LandmarkFilterData(obs_source_t *filter) : context(filter) {}

  obs_source_t *const context;  // the filter's own; borrowed
  std::shared_ptr<TesseraLandmarkFilterWorker> worker = std::make_shared<TesseraLandmarkFilterWorker>();
  int64_t last_capture_ns = HostClockNs();  // of the last attempt, successful or not
  uint32_t width = 1920;                    // pixels, of `texrender` and `stagesurface`
  uint32_t height = 1080;                   // pixels
  gs_texrender_t *texrender = nullptr;
  gs_stagesurf_t *stagesurface = nullptr;  // CPU path; stays mapped between captures
  uint8_t *mapped_data = nullptr;          // what it is mapped to; null when it is not
  uint32_t linesize = 0;                   // bytes, of `mapped_data`
  uint32_t capture_interval_ms = 66;       // between two captures at least
  FrameCostRecorder render_cost{"landmark_filter"};
};

}  // namespace vanta
