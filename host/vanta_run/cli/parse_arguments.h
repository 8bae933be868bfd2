// Reads a command line by a command's description.
#pragma once

#include <string>
#include <vector>

#include "cli/option_table.h"

namespace vanta_run {

struct GivenOption {
  const OptionRow *row;             // of the page
  std::vector<std::string> values;  // as given; one empty text for an option without a value
};

// The options that were given, in the page's order. Throws Failure(kExitUsage). The page must outlive what it returns.
std::vector<GivenOption> ParseArguments(const CommandPage &page, const std::vector<std::string> &arguments);

// Hands the values to their rows. True when an option's answer has been shown on standard output in place of that.
bool TakeValues(const std::vector<GivenOption> &given);

}  // namespace vanta_run
