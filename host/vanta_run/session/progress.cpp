#include "session/progress.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <utility>

namespace vanta_run {
namespace {

constexpr double kBarPeriod = 0.2;  // seconds between two showings
constexpr double kLinePeriod = 2.0;
constexpr int kBarWidth = 28;  // letters

// "about 40 s left", "about 3 min left".
std::string LeftText(double seconds) {
  const bool minutes = seconds >= 120;
  return "about " + std::to_string(static_cast<long>(std::ceil(minutes ? seconds / 60 : seconds))) +
         (minutes ? " min left" : " s left");
}

std::string Figures(const ProgressState &state) {
  char text[160];
  int length = state.total > 0 ? std::snprintf(text, sizeof(text), "%.1f of %.1f s", state.elapsed, state.total)
                               : std::snprintf(text, sizeof(text), "%.1f s", state.elapsed);
  length += std::snprintf(text + length, sizeof(text) - static_cast<size_t>(length), ", frames in %llu, out %llu",
                          static_cast<unsigned long long>(state.in), static_cast<unsigned long long>(state.out));
  if (state.delay_ms >= 0) {
    std::snprintf(text + length, sizeof(text) - static_cast<size_t>(length), ", delay %lld ms",
                  static_cast<long long>(state.delay_ms));
  }
  std::string line = text;
  if (state.left >= 0) line += ", " + LeftText(state.left);
  return line;
}

}  // namespace

Progress::Progress(bool quiet, bool showing)
    : quiet_(quiet), showing_(showing && !quiet), terminal_(IsTerminal(stderr)) {}

void Progress::Say(const std::string &line) {
  if (!quiet_) Complain(line);
}

void Progress::Complain(const std::string &line) {
  region_.Clear();
  std::fprintf(stderr, "vanta-run: %s\n", line.c_str());
}

void Progress::Show(const ProgressState &state) {
  if (!showing_ || (last_ >= 0 && state.real_elapsed - last_ < (terminal_ ? kBarPeriod : kLinePeriod))) return;
  last_ = state.real_elapsed;
  if (!terminal_) {
    std::fprintf(stderr, "vanta-run: %s\n", Figures(state).c_str());
    return;
  }
  std::string bar;
  if (state.total > 0) {
    const int done = std::clamp(static_cast<int>(state.part * kBarWidth), 0, kBarWidth);
    bar = "[" + std::string(static_cast<size_t>(done), '#') + std::string(static_cast<size_t>(kBarWidth - done), '.') +
          "] ";
  }
  std::vector<std::string> lines = above_;
  lines.push_back(bar + Figures(state));
  region_.Draw(lines);
}

void Progress::ShowAbove(std::vector<std::string> lines) {
  above_ = std::move(lines);
}

void Progress::End() {
  region_.Keep();
}

}  // namespace vanta_run
