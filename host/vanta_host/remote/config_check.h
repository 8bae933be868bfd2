// What is wrong with a green screen's config that comes from outside.
#pragma once

#include <optional>
#include <string>

namespace vanta_host {

// The first thing that the module would skip or clamp: no object, a name that no setting has, a wrong type, a number
// out of range. Empty where all is well.
std::optional<std::string> FindConfigFault(const std::string &config);

}  // namespace vanta_host
