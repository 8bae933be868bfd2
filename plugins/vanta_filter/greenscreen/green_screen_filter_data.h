// The green screen filter's instance record.
#pragma once

#include <atomic>
#include <cstdint>

#include <obs.h>

#include "greenscreen/green_screen_renderer.h"
#include "stats/frame_cost_recorder.h"

namespace vanta {

// Owned by the filter source: `create` makes it, `destroy` frees it.
struct GreenScreenFilterData {
  explicit GreenScreenFilterData(obs_source_t *filter) : source(filter) {}

  obs_source_t *const source;  // the filter's own; borrowed
  GreenScreenRenderer renderer;
  bool cutout_reported = false;          // [render] never cleared
  std::atomic<uint64_t> frame_index{0};  // ticks since `create`; a screenshot reads it beside the tick
  FrameCostRecorder render_cost{"lx_green_screen_render"};  // [render]
};

}  // namespace vanta
