// One record for both a one-second sample and an aggregate of ten of them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Times are milliseconds; what was not measured is 0. In an aggregate counts are sums, averages are means of the
// samples' own, and so a maximum or minimum is that of the samples' averages.
struct StatisticsSample {
  std::string name = "camera_";  // source id, "_", number
  std::string resolution = "1920x1080";
  uint32_t width = 1920;   // pixels
  uint32_t height = 1080;  // pixels
  float arrived_fps = 0;   // frames entered in the interval; in an aggregate for each second
  float render_fps = 0;    // frames processed, likewise
  // Frames that came out after dequeues in vain: after one or two of them, and after three or more.
  int32_t jank_count = 0;
  int32_t big_jank_count = 0;
  float jank_seconds = 0;           // the missed frames' share of time: whole seconds, in an aggregate their mean
  int32_t enqueue_fail_count = 0;   // frames that found no free carrier and were not processed
  int32_t spurious_wake_count = 0;  // the worker woke with nothing to do
  int32_t empty_dequeue_count = 0;  // dequeues that found no finished frame
  int32_t taken_count = 0;          // dequeues that found one
  // filter: the worker's whole engine call; tessera: the engine's vision step; beauty: its beauty step; async: from a
  // frame's entry until its carrier is taken out; whole: until its pixels are.
  float filter_avg = 0, tessera_avg = 0, beauty_avg = 0, async_avg = 0, whole_avg = 0;
  float filter_max = 0, tessera_max = 0, beauty_max = 0, async_max = 0;
  int32_t arrived_max = 0, render_max = 0;  // of arrived_fps and render_fps
  float filter_min = 0, tessera_min = 0, beauty_min = 0, async_min = 0;
  int32_t arrived_min = 0, render_min = 0;
  std::string ability_text;                                              // the engine's statistics text
  float filter_p95 = 0, tessera_p95 = 0, beauty_p95 = 0, async_p95 = 0;  // aggregate only
  float face_avg = 0, face_max = 0, face_min = 0;                        // faces in a processed frame
  int32_t drop_count = 0;                                                // frames dropped to reduce delay
  // A value for each frame: oldest first in a sample, in any order in an aggregate, which has no whole_samples and no
  // face_samples.
  std::vector<float> filter_samples, tessera_samples, beauty_samples, async_samples, whole_samples, face_samples;
};
