// `vanta-run monitor`: the statistics of every filter on this machine.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cli/option_table.h"

namespace vanta_run {

struct MonitorOptions {
  uint64_t ports = 0;  // 0: as many as the program's own
  double seconds = 0;  // 0: until Ctrl-C
};

// The rows write into `options`, which must outlive the page.
CommandPage MonitorPage(MonitorOptions &options);

// `arguments`: those behind the word. Returns the exit code; throws Failure.
int RunMonitor(const std::vector<std::string> &arguments);

}  // namespace vanta_run
