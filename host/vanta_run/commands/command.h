// One line of a command script.
#pragma once

#include <optional>
#include <string>

#include "commands/operations.h"

namespace vanta_run {

struct Command {
  std::string name;  // the operation's, or "update", "switch", "quit"
  Action action;
};

// Empty for a line that says nothing: blank, or a remark behind '#'. `at` becomes its time in seconds into the run,
// empty for "with the line before"; it is there even where the rest is refused. Throws BadCommand.
std::optional<Command> ReadCommand(const std::string &line, std::optional<double> &at);

}  // namespace vanta_run
