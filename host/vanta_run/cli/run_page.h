// The table of a run's options.
#pragma once

#include <string>
#include <vector>

#include "cli/option_table.h"
#include "common/options.h"

namespace vanta_run {

// A command line as it was read.
struct CommandLine {
  Options options;                  // as given
  std::vector<std::string> inputs;  // in the order given
  bool resume = false;              // pass over what is done
  std::vector<Options> runs;        // one for each input, with its own names of files
};

// The rows write into `line`, which must outlive the page.
CommandPage RunPage(CommandLine &line);

}  // namespace vanta_run
