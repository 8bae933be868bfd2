// Log lines for texts that come from the engine or the vision runner.
#pragma once

#include <string>

namespace vanta {

// A text without "%" goes to the vision stack's log at level 300; one with it goes to the host's log in base64 at level
// 100, since sinks further down treat a line as a format.
void LogEngineText(const char *name, const std::string &text);

// RFC 4648, with padding.
std::string EncodeBase64(const std::string &bytes);

}  // namespace vanta
