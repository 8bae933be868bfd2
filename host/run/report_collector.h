// Collects the module's reports for the length of a run.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "run_figures.h"

namespace vanta_run {

// Subscribed from construction to destruction. Threads: [control]; reports come on any thread.
class ReportCollector {
 public:
  ReportCollector();
  ~ReportCollector();
  ReportCollector(const ReportCollector &) = delete;
  ReportCollector &operator=(const ReportCollector &) = delete;

  std::vector<ModuleReport> Reports() const;

 private:
  static void OnReport(void *param, int32_t id, const char *body, uint64_t time_ns);

  const uint64_t start_ns_;
  mutable std::mutex mutex_;
  std::vector<ModuleReport> reports_;  // guarded by mutex_
};

}  // namespace vanta_run
