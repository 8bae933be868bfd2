#include "cli/commands_help.h"

#include <vector>

#include "vanta_operations/operations.h"

namespace vanta_run {
namespace {

constexpr char kCommands[] =
    R"(NAME
  commands of vanta-run - control operations and settings, with times

SYNOPSIS
  vanta-run --input FILE --commands SCRIPT
  vanta-run --input FILE --interactive

DESCRIPTION
  A command is a line with a JSON object. Blank lines, and lines that begin with '#', say nothing.

    {"at": 1.5, "call": "SetBeautyIntensityWithType", "type": "smooth", "intensity": 0.8}
    {"at": 3, "update": {"sceneitem_orientation_info": {"hor_flip": true}}}
    {"at": 4, "switch": "async-commands", "on": false}
    {"at": 9, "quit": true}

  "at" is the time in seconds into the run; a line without it is sent with the line before it, and times never
  go back. Lines of standard input without it are sent at once. The word quit alone will do, too.

  "call" sends an operation of the module's control object, with its arguments as members of the same line.
  "update" gives the running filter these settings, all of them as one update. --help names the filter's own
  keys; others reach the engine. "effect_json_ability_handler" is true for this program's handler, whose calls
  are shown and reported, or false for none. "switch" sets a host switch, named as in --help.

  A script is read and checked before the run starts: one bad line and nothing is played. A bad line of
  standard input is refused and changes nothing. Results go to standard output, a JSON object a line.

OPERATIONS, with their arguments; what stands in brackets may be left out
)";

constexpr char kCommandsTail[] =
    R"(
  The type of an intensity or effect is its number, or its name as --beauty and --stage have it. Paths go to
  the engine as they stand. SetMagicEffectForSources knows the sources "beauty", the filter, and "video".
)";

// In lines that fit a terminal, cut behind commas.
std::vector<std::string> Folded(const std::string &text) {
  constexpr size_t kWidth = 100;
  std::vector<std::string> lines;
  for (size_t at = 0; at < text.size();) {
    size_t end = text.size() - at <= kWidth ? text.size() : text.rfind(", ", at + kWidth);
    if (end == std::string::npos || end <= at) end = text.size();
    lines.push_back(text.substr(at, end - at) + (end < text.size() ? "," : ""));
    at = end + (end < text.size() ? 2 : 0);
  }
  return lines;
}

}  // namespace

std::string CommandsHelpText() {
  std::string text = kCommands;
  for (const vanta_operations::Operation &operation : vanta_operations::Operations()) {
    text += "  " + std::string(operation.name) + "\n";
    for (const std::string &line : Folded(operation.forms)) text += "      " + line + "\n";
  }
  return text + kCommandsTail;
}

}  // namespace vanta_run
