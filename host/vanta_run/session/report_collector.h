// Collects the module's reports for the length of a run.
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "output/run_figures.h"

namespace vanta_run {

// Subscribed from construction to Finish. Threads: [control]; reports come on the host layer's.
class ReportCollector {
 public:
  ReportCollector();
  ~ReportCollector();
  ReportCollector(const ReportCollector &) = delete;
  ReportCollector &operator=(const ReportCollector &) = delete;

  // Ends the subscription and gives what came until now.
  std::vector<ModuleReport> Finish();

 private:
  static void OnReport(void *param, int32_t id, const char *body, uint64_t time_ns);

  const uint64_t start_ns_;
  std::mutex mutex_;
  std::vector<ModuleReport> reports_;  // guarded by mutex_
};

}  // namespace vanta_run
