// What the command line says of effects and makeup, checked before anything is started.
#pragma once

#include <string>

#include "common/options.h"

namespace vanta_run {

// The folder of an effect, absolute. Throws Failure(kExitInput) when it is none or holds no effect.json.
std::string ReadEffectFolder(const std::string &value);

// DIR or DIR=INTENSITY. Throws Failure(kExitInput) when there is no such folder, kExitUsage for a bad intensity.
MakeupOption ReadMakeup(const std::string &value);

}  // namespace vanta_run
