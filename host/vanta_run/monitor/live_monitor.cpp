#include "monitor/live_monitor.h"

#include <util/platform.h>

namespace vanta_run {

LiveMonitor::LiveMonitor(size_t ports) : listener_(kFirstStatisticsPort, ports), start_ns_(os_gettime_ns()) {}

double LiveMonitor::Now() const {
  return static_cast<double>(os_gettime_ns() - start_ns_) / 1e9;
}

std::vector<std::string> LiveMonitor::Poll() {
  std::vector<std::string> lines;
  const double now = Now();
  for (const Arrival &arrival : listener_.Take()) {
    board_.Add(arrival, now);
    lines.push_back(ArrivalLine(arrival, now));
  }
  return lines;
}

std::vector<std::string> LiveMonitor::Picture(const BoardLook &look) {
  const double now = Now();
  board_.Tidy(now);
  std::vector<std::string> lines = BoardText(board_, now, look);
  if (lines.empty()) lines.emplace_back("no datagram yet; a filter sends its first some 10 s after its first frame");
  return lines;
}

std::string LiveMonitor::Remark() const {
  if (listener_.taken().empty()) return "";
  std::string ports;
  for (const uint16_t port : listener_.taken()) ports += (ports.empty() ? "" : ", ") + std::to_string(port);
  return "taken by another program, so not shown: port " + ports;
}

}  // namespace vanta_run
