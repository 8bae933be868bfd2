// Listens to the module's frame-rate centre: slow frames and the minute's average of every timed callback.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "vanta_filter/module/host_extensions.h"

namespace vanta_run {

struct CostNote {
  std::string name;  // of the timed callback: "face_beauty_filter", "face_beauty_render", "beauty_process"
  int microseconds = 0;
  uint64_t time_ns = 0;
};

// Registered from construction to destruction. Threads: construction, destruction, the getters [control]; notes arrive
// on whatever thread was timed, with the centre's lock held.
class CostObserver : public FrameRateCalcObserver {
 public:
  // `library` is the plug-in's: it exports the two operations of the centre. Without them nothing is observed.
  explicit CostObserver(void *library);
  ~CostObserver();
  CostObserver(const CostObserver &) = delete;
  CostObserver &operator=(const CostObserver &) = delete;

  void OnCostReport(const std::string &name, int avg_cost_us) override;
  void OnCostSpike(const std::string &name, int cost_us) override;

  std::vector<CostNote> Averages() const;
  std::vector<CostNote> Spikes() const;

 private:
  using Operation = void (*)(FrameRateCalcCenter *, FrameRateCalcObserver *);
  Operation remove_ = nullptr;

  mutable std::mutex mutex_;  // guards what follows
  std::vector<CostNote> averages_, spikes_;
};

}  // namespace vanta_run
