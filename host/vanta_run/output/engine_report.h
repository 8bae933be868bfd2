// What the engine says of one frame in its JSON.
#pragma once

#include <optional>
#include <string>

namespace vanta_run {

// All the time that it spent on the frame's thread, its search for faces included; empty where it told none.
std::optional<double> EngineMilliseconds(const std::string &applied);

}  // namespace vanta_run
