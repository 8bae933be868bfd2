// The figures of one interval that leave the process: the statistics datagram.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vanta {

// Sent as it stands, in the machine's byte order. Times are milliseconds.
struct IntervalFigures {
  float filter_avg, filter_max, filter_min;     // the worker's whole engine call
  float tessera_avg, tessera_max, tessera_min;  // the engine's vision step
  float beauty_avg, beauty_max, beauty_min;     // the engine's beauty step
  int32_t arrived_count;                        // frames entered
  int32_t render_count;                         // frames processed by the engine
  int32_t jank_count;                           // one or two empty dequeues in a row
  int32_t big_jank_count;                       // three or more
  int32_t jank_time_ms;                         // the missed frames' share of time
};
static_assert(sizeof(IntervalFigures) == 56);
static_assert(offsetof(IntervalFigures, tessera_avg) == 12);
static_assert(offsetof(IntervalFigures, beauty_avg) == 24);
static_assert(offsetof(IntervalFigures, arrived_count) == 36);
static_assert(offsetof(IntervalFigures, render_count) == 40);
static_assert(offsetof(IntervalFigures, jank_count) == 44);
static_assert(offsetof(IntervalFigures, big_jank_count) == 48);
static_assert(offsetof(IntervalFigures, jank_time_ms) == 52);

}  // namespace vanta
