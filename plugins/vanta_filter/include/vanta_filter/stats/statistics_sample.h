// One record for both a one-second sample and a ten-second aggregate. Times are milliseconds.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct StatisticsSample {
  std::string name = "camera_";  // source id, "_", number
  std::string resolution = "1920x1080";
  uint32_t width = 1920;
  uint32_t height = 1080;
  float arrived_fps = 0;  // frames entered in the interval
  float render_fps = 0;   // frames processed in the interval
  int32_t jank_count = 0;
  int32_t big_jank_count = 0;
  float jank_seconds = 0;  // whole seconds in a sample
  int32_t enqueue_fail_count = 0;
  int32_t spurious_wake_count = 0;
  int32_t empty_dequeue_count = 0;
  int32_t taken_count = 0;
  float filter_avg = 0, tessera_avg = 0, beauty_avg = 0, async_avg = 0, whole_avg = 0;
  float filter_max = 0, tessera_max = 0, beauty_max = 0, async_max = 0;
  int32_t arrived_max = 0, render_max = 0;
  float filter_min = 0, tessera_min = 0, beauty_min = 0, async_min = 0;
  int32_t arrived_min = 0, render_min = 0;
  std::string ability_text;                                              // the engine's statistics text
  float filter_p95 = 0, tessera_p95 = 0, beauty_p95 = 0, async_p95 = 0;  // aggregate only
  float face_avg = 0, face_max = 0, face_min = 0;
  int32_t drop_count = 0;  // frames dropped to reduce delay
  std::vector<float> filter_samples, tessera_samples, beauty_samples, async_samples, whole_samples, face_samples;
};
