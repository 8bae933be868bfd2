// One line of a command script.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "vanta_operations/operations.h"

namespace vanta_run {

using vanta_operations::BadCommand;
using vanta_operations::Json;

// What a command works on.
class CommandTarget : public vanta_operations::OperationTarget {
 public:
  // Applies the object as one update of the filter.
  virtual void Update(const std::string &settings) = 0;
  virtual void Quit() = 0;
};

struct Command {
  std::string name;                             // the operation's, or "update", "switch", "quit"
  std::function<Json(CommandTarget &)> action;  // done on [control]; null for what has no result
};

// Empty for a line that says nothing: blank, or a remark behind '#'. `at` becomes its time in seconds into the run,
// empty for "with the line before"; it is there even where the rest is refused. Throws BadCommand.
std::optional<Command> ReadCommand(const std::string &line, std::optional<double> &at);

}  // namespace vanta_run
