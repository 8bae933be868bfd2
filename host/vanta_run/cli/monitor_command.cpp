#include "cli/monitor_command.h"

#include <cstdio>

#include "cli/page_text.h"
#include "cli/parse_arguments.h"
#include "common/failure.h"
#include "common/interrupt.h"
#include "common/option_values.h"
#include "monitor/live_monitor.h"
#include "monitor/live_region.h"

namespace vanta_run {
namespace {

constexpr int kPollMs = 100;
constexpr double kRedraw = 0.5;  // seconds
constexpr uint64_t kMostPorts = 1000;

void ReadPorts(const std::string &value, MonitorOptions &options) {
  const auto count = ParseCount(value);
  if (!count || *count > kMostPorts) {
    throw Failure(kExitUsage, "--ports", "bad value '" + value + "'", "give a whole number from 1 to 1000");
  }
  options.ports = *count;
}

void ReadSeconds(const std::string &value, MonitorOptions &options) {
  const auto number = ParseNumber(value);
  if (!number || *number <= 0) {
    throw Failure(kExitUsage, "--seconds", "bad value '" + value + "'", "give a number above 0");
  }
  options.seconds = *number;
}

std::string PrintedHelp() {
  MonitorOptions options;
  return HelpText(MonitorPage(options));
}

}  // namespace

CommandPage MonitorPage(MonitorOptions &options) {
  return {
      "vanta-run monitor",
      "shows what every beauty filter on this machine measures",
      {"vanta-run monitor [--ports N] [--seconds S]"},
      {"Each beauty filter sends a datagram of 56 bytes to 127.0.0.1 once a second: the first filter of a process to "
       "port 12345, the next one to 12346, and so on. This shows them live, the last minute as small charts with now "
       "at "
       "the right.",
       "Where standard output is no terminal each datagram is one line. A filter that is silent for a minute is no "
       "longer shown. Only one monitor can run at a time. A filter's first figures come some 10 s after its first "
       "frame "
       "and cover more than one second."},
      {{"in, out", "frames that entered the filter and that the engine finished, in that second"},
       {"delay",
        "milliseconds that the engine takes for a frame: mean, least and most; in the heading, how much of it "
        "goes to its vision and its beauty step"},
       {"jank", "times that the filter had no finished frame; big where three or more frames were missed in a row"}},
      {{"OPTIONS",
        {{.name = "ports",
          .letter = 'p',
          .value = "N",
          .text = "listen on N ports, from 12345 upward; 1 to 1000, default 32",
          .read = [&options](const std::string &value) { ReadPorts(value, options); }},
         {.name = "seconds",
          .letter = 't',
          .value = "S",
          .text = "end after S seconds; else with Ctrl-C",
          .read = [&options](const std::string &value) { ReadSeconds(value, options); }},
         {.name = "help", .letter = 'h', .text = "this text", .answer = PrintedHelp}}}},
      {{"0", "ended by --seconds, Ctrl-C, or because nobody reads its output any more"},
       {"2", "unknown option or bad value"},
       {"7", "port 12345 is taken: another monitor is running"}}};
}

int RunMonitor(const std::vector<std::string> &arguments) {
  MonitorOptions options;
  const CommandPage page = MonitorPage(options);
  if (TakeValues(ParseArguments(page, arguments))) return kExitOk;
  Interrupt interrupt;
  LiveMonitor monitor(options.ports > 0 ? options.ports : kMonitoredPorts);
  if (!monitor.Remark().empty()) std::fprintf(stderr, "vanta-run: %s\n", monitor.Remark().c_str());
  const bool terminal = IsTerminal(stdout);
  LiveRegion region(stdout);
  double next_draw = 0;
  bool heard = false;
  // Whoever reads the lines may go away: that ends the monitor too.
  while (std::ferror(stdout) == 0 && (options.seconds == 0 || monitor.Now() < options.seconds)) {
    const bool interrupted = interrupt.Wait(kPollMs);
    const std::vector<std::string> lines = monitor.Poll();
    heard = heard || !lines.empty();
    if (!terminal) {
      for (const std::string &line : lines) std::printf("%s\n", line.c_str());
      std::fflush(stdout);
    } else if (!lines.empty() || monitor.Now() >= next_draw) {
      region.Draw(monitor.Picture({SizeOf(stdout).columns - 1, SpeaksUtf8()}));
      next_draw = monitor.Now() + kRedraw;
    }
    if (interrupted) break;
  }
  region.Keep();
  if (!heard)
    std::fputs("vanta-run: no beauty filter was heard; it sends once a second while frames come in\n", stderr);
  return kExitOk;
}

}  // namespace vanta_run
