// The control object's operations by their names: how a line's members become a call.
#pragma once

#include <obs.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "commands/members.h"
#include "vanta_filter/engine/i_faceless.h"

namespace vanta_run {

// What a command works on.
class CommandTarget {
 public:
  virtual ~CommandTarget() = default;
  virtual ILumivex &Control() = 0;
  // A new reference, or null where the run has no such source.
  virtual obs_source_t *TakeSource(const std::string &name) = 0;
  // Applies the object as one update of the filter.
  virtual void Update(const std::string &settings) = 0;
  virtual void Quit() = 0;
};

// Done on [control]. What it gives back is the operation's result; null for those without one.
using Action = std::function<Json(CommandTarget &)>;

struct Operation {
  std::string_view name;
  std::function<Action(const Json &)> read;  // throws BadCommand
  std::string forms;                         // its members, for the help
};

// All 33, in the order of the control object's table.
const std::vector<Operation> &Operations();
// Null for a name that none has.
const Operation *FindOperation(std::string_view name);

}  // namespace vanta_run
