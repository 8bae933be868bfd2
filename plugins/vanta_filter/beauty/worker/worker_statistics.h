// `WorkerStatistics` makes a sample each second and gives the control object a report each ten.
#pragma once

#include <obs.h>

#include <cstdint>
#include <string>
#include <vector>

#include "stats/delay_stats.h"

namespace vanta {

class ProcessorHolder;

// Borrows: the source, under which reports are kept; the counters; the processor's holder. Threads: [tick-1s].
class WorkerStatistics {
 public:
  WorkerStatistics(obs_source_t *source, DelayStats &stats, ProcessorHolder &processor)
      : source_(source), stats_(stats), processor_(processor) {}
  WorkerStatistics(const WorkerStatistics &) = delete;
  WorkerStatistics &operator=(const WorkerStatistics &) = delete;

  void Collect();

 private:
  void RefreshAbilityText();

  obs_source_t *const source_;
  DelayStats &stats_;
  ProcessorHolder &processor_;
  std::vector<StatisticsSample> stat_samples_;  // since the last report
  int32_t stat_batch_count_ = 0;
  int32_t stat_ability_count_ = 0;  // samples since the ability text was last read
  std::string ability_text_;        // the engine's
};

}  // namespace vanta
