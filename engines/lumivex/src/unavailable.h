// Says once per process, for each feature that this version lacks, that a command for it has no effect.
#pragma once

namespace lumivex {

enum class Feature { kMakeup, kCount };

// Threads: any.
void LogUnavailable(Feature feature);

}  // namespace lumivex
