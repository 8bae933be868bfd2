// Listens to all workers of the machine and tells what they say.
#pragma once

#include <string>
#include <vector>

#include "monitor/board_text.h"
#include "monitor/port_listener.h"
#include "monitor/worker_board.h"

namespace vanta_run {

inline constexpr size_t kMonitoredPorts = 32;

// Threads: [control]. Times are seconds since it was made.
class LiveMonitor {
 public:
  // Throws Failure(kExitBusy).
  explicit LiveMonitor(size_t ports);

  double Now() const;
  // Takes what has come: a line for each datagram.
  std::vector<std::string> Poll();
  // The picture as of now.
  std::vector<std::string> Picture(const BoardLook &look);
  // What the user should know of the ports; empty when all is well.
  std::string Remark() const;

 private:
  PortListener listener_;
  WorkerBoard board_;
  const uint64_t start_ns_;
};

}  // namespace vanta_run
