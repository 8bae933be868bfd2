#include "monitor/datagram.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>

namespace vanta_run {

std::optional<vanta::IntervalFigures> DecodeDatagram(const void *data, size_t size) {
  vanta::IntervalFigures f{};
  if (size != sizeof(f)) return std::nullopt;
  std::memcpy(&f, data, sizeof(f));
  const float times[] = {f.filter_avg,  f.filter_max, f.filter_min, f.tessera_avg, f.tessera_max,
                         f.tessera_min, f.beauty_avg, f.beauty_max, f.beauty_min};
  const int32_t counts[] = {f.arrived_count, f.render_count, f.jank_count, f.big_jank_count, f.jank_time_ms};
  const bool numbers = std::all_of(std::begin(times), std::end(times), [](float time) { return std::isfinite(time); });
  const bool whole = std::all_of(std::begin(counts), std::end(counts), [](int32_t count) { return count >= 0; });
  if (!numbers || !whole) return std::nullopt;
  return f;
}

}  // namespace vanta_run
