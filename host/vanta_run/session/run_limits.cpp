#include "session/run_limits.h"

#include <algorithm>
#include <limits>

namespace vanta_run {
namespace {

constexpr double kPictureSeconds = 5;  // of pictures and colours without a limit
constexpr double kAfterScript = 2;     // seconds in which the last command shows

}  // namespace

RunLimits::RunLimits(const Options &options, const Input &input, double script_end)
    : seconds(options.seconds), frames(options.frames) {
  const bool has_end = input.kind == InputKind::kMedia && !options.loop;
  // Who types the commands also says when it is over.
  const bool endless = options.loop || options.interactive || input.kind == InputKind::kCamera;
  if (input.kind != InputKind::kMedia && !endless && seconds == 0 && frames == 0) {
    seconds = std::max(kPictureSeconds, script_end + kAfterScript);
  }
  double least = std::numeric_limits<double>::infinity();
  if (seconds > 0) least = std::min(least, seconds);
  if (frames > 0) least = std::min(least, static_cast<double>(frames) * input.rate.den / input.rate.num);
  if (has_end && input.duration > 0) least = std::min(least, input.duration);
  if (least < std::numeric_limits<double>::infinity()) expected = least;
}

}  // namespace vanta_run
