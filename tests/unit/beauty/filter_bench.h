// A registered beauty filter on paper: its callbacks as the customised host calls them, a scripted engine behind it.
#pragma once

#include <gtest/gtest.h>

#include <obs.hpp>
#include <string>
#include <vector>

#include "beauty/face_beauty_filter_data.h"
#include "module/source_record.h"
#include "support/gs_recorder.h"
#include "support/host_double.h"
#include "support/log_capture.h"
#include "support/movable_clock.h"
#include "support/scripted_engine.h"
#include "test_frame.h"

namespace vanta_test {

inline constexpr uint32_t kWidth = 64;
inline constexpr uint32_t kHeight = 48;

class FilterBench : public testing::Test {
 protected:
  FilterBench();
  ~FilterBench() override;

  // A filter whose worker runs.
  void CreateFilter();
  void DestroyFilter();
  face_beauty_filter_data &data() { return *static_cast<face_beauty_filter_data *>(instance_); }

  // filter_video while the engine is held: what comes back is never the frame that goes in, however fast the worker.
  obs_source_frame *Video(obs_source_frame *frame);
  // filter_video with a frame of its own, and the worker's pass over it. True when the host got a frame.
  bool Pass(uint64_t timestamp = 1, uint32_t width = kWidth, uint32_t height = kHeight, uint8_t fill = 16);
  bool WaitForPasses(size_t passes);
  void Render();  // as the graphics thread does: inside graphics
  // A frame of the engine's at `format` reaches the filter.
  void Deliver(int32_t format);

  LogCapture log_;
  obs_source parent_;
  obs_source target_;
  obs_source filter_;
  HostSourceInfo record_{};
  OBSDataAutoRelease settings_;
  void *instance_ = nullptr;
  size_t passes_ = 0;
};

}  // namespace vanta_test
