// The control object's operations by their names: how the members of a JSON object become a call.
#pragma once

#include <obs.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "vanta_filter/engine/i_faceless.h"
#include "vanta_operations/members.h"

namespace vanta_operations {

// What an operation works on.
class OperationTarget {
 public:
  virtual ~OperationTarget() = default;
  virtual ILumivex &Control() = 0;
  // A new reference, or null where the host has no such source.
  virtual obs_source_t *TakeSource(const std::string &name) = 0;
};

// Done on [control]. What it gives back is the operation's result; null for those without one. Throws BadCommand, with
// nothing done, where a source is missing.
using Action = std::function<Json(OperationTarget &)>;

struct Operation {
  std::string_view name;
  std::function<Action(const Json &)> read;  // throws BadCommand
  std::string forms;                         // its members, for the help
};

// All 33, in the order of the control object's table.
const std::vector<Operation> &Operations();
// Null for a name that none has.
const Operation *FindOperation(std::string_view name);

}  // namespace vanta_operations
