#include "cli/monitor_command.h"

#include <getopt.h>

#include <cstdio>
#include <string>

#include "cli/help_text.h"
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

struct MonitorOptions {
  uint64_t ports = kMonitoredPorts;
  double seconds = 0;  // 0: until Ctrl-C
  bool help = false;
};

[[noreturn]] void BadValue(const std::string &subject, const std::string &reason, const std::string &remedy) {
  throw Failure(kExitUsage, subject, reason, remedy);
}

MonitorOptions ParseMonitorOptions(int argc, char **argv) {
  static constexpr option kKnown[] = {{"ports", required_argument, nullptr, 'p'},
                                      {"seconds", required_argument, nullptr, 't'},
                                      {"help", no_argument, nullptr, 'h'},
                                      {}};
  MonitorOptions options;
  opterr = 0;  // the messages are ours
  for (;;) {
    const int at = optind;
    const int which = getopt_long(argc, argv, ":p:t:h", kKnown, nullptr);
    if (which == -1) break;
    if (which == 'h') {
      options.help = true;
    } else if (which == 'p') {
      options.ports = ParseCount(optarg).value_or(0);
      if (options.ports == 0 || options.ports > kMostPorts) {
        BadValue("--ports", "bad value '" + std::string(optarg) + "'", "give a whole number from 1 to 1000");
      }
    } else if (which == 't') {
      options.seconds = ParseNumber(optarg).value_or(0);
      if (options.seconds <= 0)
        BadValue("--seconds", "bad value '" + std::string(optarg) + "'", "give a number above 0");
    } else {
      BadValue(argv[at], which == ':' ? "its value is missing" : "unknown or misused option",
               "see vanta-run monitor --help");
    }
  }
  if (optind < argc) BadValue(argv[optind], "not an option", "see vanta-run monitor --help");
  return options;
}

}  // namespace

int RunMonitor(int argc, char **argv) {
  const MonitorOptions options = ParseMonitorOptions(argc, argv);
  if (options.help) {
    std::fputs(MonitorHelpText().c_str(), stdout);
    return kExitOk;
  }
  Interrupt interrupt;
  LiveMonitor monitor(options.ports);
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
