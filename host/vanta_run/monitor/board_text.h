// The monitor's picture as lines of text.
#pragma once

#include <string>
#include <vector>

#include "monitor/worker_board.h"

namespace vanta_run {

struct BoardLook {
  size_t columns = 80;
  bool unicode = true;  // charts of block characters; else of ASCII ones
};

// One character for each value, the newest at the right, scaled from 0 to the larger of `least_top` and the largest
// value; filled with spaces from the left.
std::string Chart(const std::vector<double> &values, size_t columns, double least_top, bool unicode);

// A block of lines for each worker. No line is wider than `look.columns`.
std::vector<std::string> BoardText(const WorkerBoard &board, double now, const BoardLook &look);

// One datagram as a line, for logs and pipes.
std::string ArrivalLine(const Arrival &arrival, double now);

}  // namespace vanta_run
