// `vanta-run monitor`: the statistics of every filter on this machine.
#pragma once

namespace vanta_run {

// `argv[0]` is "monitor". Returns the exit code; throws Failure.
int RunMonitor(int argc, char **argv);

}  // namespace vanta_run
