// `HandleEffectDescription` acts on what the engine says of an effect it plays: a gift, or settings that it takes over.
#pragma once

#include <string>

namespace vanta {

// `desc` is JSON text in UTF-8 or, as older effects have it, in the system's code page. What cannot be read is two
// error lines. `event_name` is the host event that a gift's end sets; empty: none. Threads: any.
void HandleEffectDescription(const std::string &desc, const std::string &event_name);

}  // namespace vanta
