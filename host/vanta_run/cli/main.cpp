#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "cli/batch.h"
#include "cli/monitor_command.h"
#include "cli/parse_options.h"
#include "common/failure.h"
#include "common/interrupt.h"
#include "session/run.h"

int main(int argc, char **argv) {
  using namespace vanta_run;
  try {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (!arguments.empty() && arguments.front() == "monitor")
      return RunMonitor({arguments.begin() + 1, arguments.end()});
    CommandLine line;
    const CommandPage page = RunPage(line);
    const std::vector<GivenOption> given = ParseArguments(page, arguments);
    if (!ReadCommandLine(given, line)) return kExitOk;
    Interrupt interrupt;  // before any thread exists, so that every thread inherits the blocked signals
    if (line.runs.size() > 1 || line.resume) return RunBatch(line, given, interrupt);
    return Run(line.runs.front(), interrupt);
  } catch (const Failure &failure) {
    std::fprintf(stderr, "vanta-run: %s\n", failure.what());
    return failure.code();
  } catch (const std::exception &error) {
    std::fprintf(stderr, "vanta-run: unforeseen: %s; run again with --verbose and report it\n", error.what());
    return kExitInternal;
  }
}
