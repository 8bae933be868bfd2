#include "output/second_log.h"

#include <cmath>

namespace vanta_run {
namespace {

constexpr size_t kMaxRecords = 36000;  // ten hours
// A look that comes a little late still closes one second only.
constexpr double kLate = 0.5;  // seconds

}  // namespace

void SecondLog::Start(const FrameCounts &counts) {
  last_ = counts;
  start_ = 0;
  records_.clear();
}

void SecondLog::Look(double elapsed, const FrameCounts &counts) {
  if (elapsed < start_ + 1 || records_.size() >= kMaxRecords) return;
  const double end = elapsed < start_ + 1 + kLate ? start_ + 1 : std::floor(elapsed);
  records_.push_back({start_, end, counts - last_});
  last_ = counts;
  start_ = end;
}

}  // namespace vanta_run
