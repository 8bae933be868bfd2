// `ReadGameData` reads a request that an effect makes of the host.
#pragma once

#include <optional>
#include <string>

namespace vanta {

// What the host's ability handler is asked for, beside the raw text.
struct AbilityRequest {
  std::string method;
  std::string params;
  bool ends_effect = false;  // "clearEffect": goes to the host's event where one is set
};

// Nothing for a request that nobody here knows. Throws nlohmann's exceptions for text that is no JSON and for members
// of the wrong type. Threads: any.
std::optional<AbilityRequest> ReadGameData(const std::string &text);

}  // namespace vanta
