// A script of commands, read and checked before the run starts.
#pragma once

#include <string>
#include <vector>

#include "commands/command.h"

namespace vanta_run {

struct ScriptLine {
  size_t number = 0;  // from 1
  double at = 0;      // seconds into the run; never less than the line before
  Command command;
};

// One command a line. Throws Failure: kExitInput where the file cannot be read, kExitUsage with every bad line.
std::vector<ScriptLine> ReadScript(const std::string &path);

// "PLACE:NUMBER: REASON; REMEDY"
std::string ComplainOfLine(const std::string &place, size_t number, const std::string &reason);

}  // namespace vanta_run
