// Listens for statistics datagrams on the ports that workers send to.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "vanta_filter/stats/interval_figures.h"

namespace vanta_run {

// The first worker of a process sends here, the next one to the port above, and so on.
inline constexpr uint16_t kFirstStatisticsPort = 12345;

struct Arrival {
  uint16_t port = 0;    // sent to
  uint16_t sender = 0;  // port that it came from: one for each worker, also among processes
  vanta::IntervalFigures figures{};
};

// Owns: one socket for each port of 127.0.0.1. Threads: confined by the owner.
class PortListener {
 public:
  // Throws Failure(kExitBusy) when the first port cannot be had.
  PortListener(uint16_t first, size_t count);
  ~PortListener();
  PortListener(const PortListener &) = delete;
  PortListener &operator=(const PortListener &) = delete;

  // Ports that somebody else has.
  const std::vector<uint16_t> &taken() const { return taken_; }
  // What has come, in the order of the ports; never waits.
  std::vector<Arrival> Take();
  // Datagrams that were no statistics.
  size_t strange() const { return strange_; }

 private:
  struct Port {
    uint16_t number;
    int socket;
  };
  bool Listen(uint16_t number);

  std::vector<Port> ports_;
  std::vector<uint16_t> taken_;
  size_t strange_ = 0;
};

}  // namespace vanta_run
