// What the monitor knows of each worker: its last minute.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <utility>

#include "monitor/port_listener.h"

namespace vanta_run {

struct WorkerHistory {
  std::deque<vanta::IntervalFigures> samples;      // oldest first, one a second, at most kHistory
  double last_seen = 0;                            // seconds, as given to Add
  uint64_t janks = 0, big_janks = 0, jank_ms = 0;  // since it was first seen
};

// Threads: confined by the owner. Times are seconds of any clock that does not go back.
class WorkerBoard {
 public:
  static constexpr size_t kHistory = 60;
  static constexpr double kSilentAfter = 3;      // seconds
  static constexpr double kForgottenAfter = 60;  // seconds
  static constexpr size_t kMostWorkers = 256;    // senders beyond are not shown: a flood must not fill the memory

  // Port and sender.
  using Key = std::pair<uint16_t, uint16_t>;

  void Add(const Arrival &arrival, double now);
  // Forgets those that have been silent for long.
  void Tidy(double now);
  const std::map<Key, WorkerHistory> &workers() const { return workers_; }

 private:
  std::map<Key, WorkerHistory> workers_;
};

}  // namespace vanta_run
