// What the host application answers when an effect asks it for something.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "commands/ability_handler.h"

namespace vanta_run {

// One line of the file: {"method": "getPkId", "answer": {...}}. An answer that is an object gets the request's "seqId"
// where it has none.
struct AbilityAnswer {
  std::string method;  // empty: requests without one
  std::string text;    // JSON
};

// Lines that are blank or begin with '#' say nothing. Throws Failure(kExitInput) where the file cannot be read,
// Failure(kExitUsage) with the line's number where one is wrong.
std::vector<AbilityAnswer> ReadAbilityAnswers(const std::string &path);

// The first answer for the call's method, as the engine gets it; empty where none is given.
std::optional<std::string> FindAnswer(const std::vector<AbilityAnswer> &answers, const AbilityCall &call);

}  // namespace vanta_run
