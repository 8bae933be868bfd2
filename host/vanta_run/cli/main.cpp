#include <cstdio>
#include <cstring>
#include <exception>

#include "cli/monitor_command.h"
#include "cli/parse_options.h"
#include "common/failure.h"
#include "common/interrupt.h"
#include "session/run.h"

int main(int argc, char **argv) {
  using namespace vanta_run;
  try {
    if (argc > 1 && std::strcmp(argv[1], "monitor") == 0) return RunMonitor(argc - 1, argv + 1);
    Options options;
    if (ParseOptions(argc, argv, options) == ParseResult::kShownHelp) return kExitOk;
    Interrupt interrupt;  // before any thread exists, so that every thread inherits the blocked signals
    return Run(options, interrupt);
  } catch (const Failure &failure) {
    std::fprintf(stderr, "vanta-run: %s\n", failure.what());
    return failure.code();
  } catch (const std::exception &error) {
    std::fprintf(stderr, "vanta-run: unforeseen: %s; run again with --verbose and report it\n", error.what());
    return kExitInternal;
  }
}
