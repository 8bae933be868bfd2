#include "monitor/worker_board.h"

namespace vanta_run {

void WorkerBoard::Add(const Arrival &arrival, double now) {
  const Key key{arrival.port, arrival.sender};
  if (workers_.count(key) == 0 && workers_.size() >= kMostWorkers) return;
  WorkerHistory &worker = workers_[key];
  worker.samples.push_back(arrival.figures);
  if (worker.samples.size() > kHistory) worker.samples.pop_front();
  worker.last_seen = now;
  worker.janks += static_cast<uint64_t>(arrival.figures.jank_count);
  worker.big_janks += static_cast<uint64_t>(arrival.figures.big_jank_count);
  worker.jank_ms += static_cast<uint64_t>(arrival.figures.jank_time_ms);
}

void WorkerBoard::Tidy(double now) {
  std::erase_if(workers_, [now](const auto &entry) { return now - entry.second.last_seen > kForgottenAfter; });
}

}  // namespace vanta_run
