// One statistics datagram of a beauty filter's worker.
#pragma once

#include <cstddef>
#include <optional>

#include "vanta_filter/stats/interval_figures.h"

namespace vanta_run {

// Exactly 56 bytes in the machine's byte order. Empty for another length, for a value that is no number and for a count
// below 0: the port is open to every program of the machine.
std::optional<vanta::IntervalFigures> DecodeDatagram(const void *data, size_t size);

}  // namespace vanta_run
